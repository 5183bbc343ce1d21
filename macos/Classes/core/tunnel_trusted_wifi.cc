// Compiles src/tunnel/trusted_wifi.cc into the plugin pod.
#include "../../../src/tunnel/trusted_wifi.cc"
