// Compiles src/platform/wireguard/wg_quick_address.cc into the plugin pod.
#include "../../../src/platform/wireguard/wg_quick_address.cc"
