// Compiles src/bridge/binary_messenger.cc into the plugin pod.
#include "../../../src/bridge/binary_messenger.cc"
