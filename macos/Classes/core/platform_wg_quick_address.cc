// Compiles src/platform/wg_quick_address.cc into the plugin pod.
#include "../../../src/platform/wg_quick_address.cc"
