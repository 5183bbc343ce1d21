// Compiles src/mesh/identity_cleanup.cc into the plugin pod.
#include "../../../src/mesh/identity_cleanup.cc"
