// Compiles src/bridge/arguments.cc into the plugin pod.
#include "../../../src/bridge/arguments.cc"
