// Type-checking only: glibc's word size for a 64-bit Mac target (see
// README.md).
#define __WORDSIZE 64
#define __WORDSIZE_TIME64_COMPAT32 1
#define __SYSCALL_WORDSIZE 64
