// Compiles src/bridge/registrar.cc into the plugin pod.
#include "../../../src/bridge/registrar.cc"
