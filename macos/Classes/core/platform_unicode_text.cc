// Compiles src/platform/unicode_text.cc into the plugin pod.
#include "../../../src/platform/unicode_text.cc"
