// Compiles src/tunnel/desktop_startup_rows.cc into the plugin pod.
#include "../../../src/tunnel/desktop_startup_rows.cc"
