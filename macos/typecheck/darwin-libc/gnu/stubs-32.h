// Type-checking only: glibc's <gnu/stubs.h> asks for the 32-bit list when
// __x86_64__ is not defined, as for an arm64 target; the 64-bit list is
// the one that applies (see README.md).
#include <gnu/stubs-64.h>
