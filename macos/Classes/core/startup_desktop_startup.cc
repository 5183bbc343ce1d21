// Compiles src/startup/desktop_startup.cc into the plugin pod.
#include "../../../src/startup/desktop_startup.cc"
