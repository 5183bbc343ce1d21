// Compiles src/platform/apple/network_extension_apple.mm into the plugin pod.
#include "../../../src/platform/apple/network_extension_apple.mm"
