// Compiles src/tunnel/platform_info.cc into the plugin pod.
#include "../../../src/tunnel/platform_info.cc"
