// Compiles src/tunnel/extension_activation.cc into the plugin pod.
#include "../../../src/tunnel/extension_activation.cc"
