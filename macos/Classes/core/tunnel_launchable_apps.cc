// Compiles src/tunnel/launchable_apps.cc into the plugin pod.
#include "../../../src/tunnel/launchable_apps.cc"
