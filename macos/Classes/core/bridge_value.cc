// Compiles src/bridge/value.cc into the plugin pod.
#include "../../../src/bridge/value.cc"
