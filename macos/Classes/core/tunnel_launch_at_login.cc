// Compiles src/tunnel/launch_at_login.cc into the plugin pod.
#include "../../../src/tunnel/launch_at_login.cc"
