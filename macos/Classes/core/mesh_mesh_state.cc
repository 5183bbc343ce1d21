// Compiles src/mesh/mesh_state.cc into the plugin pod.
#include "../../../src/mesh/mesh_state.cc"
