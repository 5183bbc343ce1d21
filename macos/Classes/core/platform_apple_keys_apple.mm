// Compiles src/platform/apple/keys_apple.mm into the plugin pod.
#include "../../../src/platform/apple/keys_apple.mm"
