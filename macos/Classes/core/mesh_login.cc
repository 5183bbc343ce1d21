// Compiles src/mesh/login.cc into the plugin pod.
#include "../../../src/mesh/login.cc"
