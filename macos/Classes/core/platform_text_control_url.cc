// Compiles src/platform/text/control_url.cc into the plugin pod.
#include "../../../src/platform/text/control_url.cc"
