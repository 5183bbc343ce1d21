// Compiles src/bridge/method_channel.cc into the plugin pod.
#include "../../../src/bridge/method_channel.cc"
