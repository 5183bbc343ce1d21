// Compiles src/platform/apple/foundation_apple.mm into the plugin pod.
#include "../../../src/platform/apple/foundation_apple.mm"
