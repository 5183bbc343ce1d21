// Compiles src/platform/apple/apple_services.mm into the plugin pod.
#include "../../../src/platform/apple/apple_services.mm"
