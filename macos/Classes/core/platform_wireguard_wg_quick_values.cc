// Compiles src/platform/wireguard/wg_quick_values.cc into the plugin pod.
#include "../../../src/platform/wireguard/wg_quick_values.cc"
