// Compiles src/mesh/provider_reply.cc into the plugin pod.
#include "../../../src/mesh/provider_reply.cc"
