// Compiles src/mesh/account_rules.cc into the plugin pod.
#include "../../../src/mesh/account_rules.cc"
