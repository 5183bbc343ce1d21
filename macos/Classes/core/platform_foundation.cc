// Compiles src/platform/foundation.cc into the plugin pod.
#include "../../../src/platform/foundation.cc"
