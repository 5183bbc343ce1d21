// Compiles src/platform/apple/wifi_location_apple.mm into the plugin pod.
#include "../../../src/platform/apple/wifi_location_apple.mm"
