// Compiles src/bridge/event_channel.cc into the plugin pod.
#include "../../../src/bridge/event_channel.cc"
