// Compiles src/platform/control_url.cc into the plugin pod.
#include "../../../src/platform/control_url.cc"
