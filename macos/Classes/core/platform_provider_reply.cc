// Compiles src/platform/provider_reply.cc into the plugin pod.
#include "../../../src/platform/provider_reply.cc"
