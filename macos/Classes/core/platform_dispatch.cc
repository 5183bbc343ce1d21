// Compiles src/platform/dispatch.cc into the plugin pod.
#include "../../../src/platform/dispatch.cc"
