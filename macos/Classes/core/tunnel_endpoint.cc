// Compiles src/tunnel/endpoint.cc into the plugin pod.
#include "../../../src/tunnel/endpoint.cc"
