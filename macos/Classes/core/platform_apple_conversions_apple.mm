// Compiles src/platform/apple/conversions_apple.mm into the plugin pod.
#include "../../../src/platform/apple/conversions_apple.mm"
