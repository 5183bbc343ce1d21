// Compiles src/platform/wg_quick_values.cc into the plugin pod.
#include "../../../src/platform/wg_quick_values.cc"
