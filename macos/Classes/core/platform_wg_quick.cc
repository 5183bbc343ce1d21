// Compiles src/platform/wg_quick.cc into the plugin pod.
#include "../../../src/platform/wg_quick.cc"
