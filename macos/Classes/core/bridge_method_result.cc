// Compiles src/bridge/method_result.cc into the plugin pod.
#include "../../../src/bridge/method_result.cc"
