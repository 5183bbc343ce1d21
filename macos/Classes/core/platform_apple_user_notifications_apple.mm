// Compiles src/platform/apple/user_notifications_apple.mm into the plugin pod.
#include "../../../src/platform/apple/user_notifications_apple.mm"
