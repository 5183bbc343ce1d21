// Compiles src/tunnel/reminders.cc into the plugin pod.
#include "../../../src/tunnel/reminders.cc"
