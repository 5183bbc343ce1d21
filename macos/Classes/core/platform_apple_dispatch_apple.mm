// Compiles src/platform/apple/dispatch_apple.mm into the plugin pod.
#include "../../../src/platform/apple/dispatch_apple.mm"
