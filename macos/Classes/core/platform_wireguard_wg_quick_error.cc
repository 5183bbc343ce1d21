// Compiles src/platform/wireguard/wg_quick_error.cc into the plugin pod.
#include "../../../src/platform/wireguard/wg_quick_error.cc"
