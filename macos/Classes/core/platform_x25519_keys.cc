// Compiles src/platform/x25519_keys.cc into the plugin pod.
#include "../../../src/platform/x25519_keys.cc"
