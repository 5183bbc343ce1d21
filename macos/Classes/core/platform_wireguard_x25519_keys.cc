// Compiles src/platform/wireguard/x25519_keys.cc into the plugin pod.
#include "../../../src/platform/wireguard/x25519_keys.cc"
