// Compiles src/mesh/provider_messaging.cc into the plugin pod.
#include "../../../src/mesh/provider_messaging.cc"
