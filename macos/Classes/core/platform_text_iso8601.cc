// Compiles src/platform/text/iso8601.cc into the plugin pod.
#include "../../../src/platform/text/iso8601.cc"
