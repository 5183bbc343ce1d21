// Compiles src/tunnel/auto_connect.cc into the plugin pod.
#include "../../../src/tunnel/auto_connect.cc"
