// Compiles src/platform/apple/system_extensions_apple.mm into the plugin pod.
#include "../../../src/platform/apple/system_extensions_apple.mm"
