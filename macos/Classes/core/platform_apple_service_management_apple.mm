// Compiles src/platform/apple/service_management_apple.mm into the plugin pod.
#include "../../../src/platform/apple/service_management_apple.mm"
