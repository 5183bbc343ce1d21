// Compiles src/tunnel/disconnect_events.cc into the plugin pod.
#include "../../../src/tunnel/disconnect_events.cc"
