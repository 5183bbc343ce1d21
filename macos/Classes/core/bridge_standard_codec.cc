// Compiles src/bridge/standard_codec.cc into the plugin pod.
#include "../../../src/bridge/standard_codec.cc"
