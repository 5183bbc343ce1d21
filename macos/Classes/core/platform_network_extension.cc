// Compiles src/platform/network_extension.cc into the plugin pod.
#include "../../../src/platform/network_extension.cc"
