// Compiles src/tunnel/movaro_platform_plugin.cc into the plugin pod.
#include "../../../src/tunnel/movaro_platform_plugin.cc"
