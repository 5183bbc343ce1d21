// Compiles src/platform/wireguard/wg_quick.cc into the plugin pod.
#include "../../../src/platform/wireguard/wg_quick.cc"
