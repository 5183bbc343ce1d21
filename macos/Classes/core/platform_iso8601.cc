// Compiles src/platform/iso8601.cc into the plugin pod.
#include "../../../src/platform/iso8601.cc"
