// Compiles src/mesh/stop_logout.cc into the plugin pod.
#include "../../../src/mesh/stop_logout.cc"
