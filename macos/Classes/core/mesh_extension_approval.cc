// Compiles src/mesh/extension_approval.cc into the plugin pod.
#include "../../../src/mesh/extension_approval.cc"
