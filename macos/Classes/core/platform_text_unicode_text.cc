// Compiles src/platform/text/unicode_text.cc into the plugin pod.
#include "../../../src/platform/text/unicode_text.cc"
