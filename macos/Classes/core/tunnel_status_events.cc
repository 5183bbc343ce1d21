// Compiles src/tunnel/status_events.cc into the plugin pod.
#include "../../../src/tunnel/status_events.cc"
