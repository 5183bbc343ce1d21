// Compiles src/tunnel/profile_connect.cc into the plugin pod.
#include "../../../src/tunnel/profile_connect.cc"
