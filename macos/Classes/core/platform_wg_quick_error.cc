// Compiles src/platform/wg_quick_error.cc into the plugin pod.
#include "../../../src/platform/wg_quick_error.cc"
