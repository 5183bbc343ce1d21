// Compiles src/bridge/value_map.cc into the plugin pod.
#include "../../../src/bridge/value_map.cc"
