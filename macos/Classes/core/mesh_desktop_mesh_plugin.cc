// Compiles src/mesh/desktop_mesh_plugin.cc into the plugin pod.
#include "../../../src/mesh/desktop_mesh_plugin.cc"
