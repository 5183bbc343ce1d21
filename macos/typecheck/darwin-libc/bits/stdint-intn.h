// Type-checking only: the exact-width signed integers as macOS declares
// them, int64_t being long long (see README.md).
#ifndef _BITS_STDINT_INTN_H
#define _BITS_STDINT_INTN_H 1
typedef signed char int8_t;
typedef short int16_t;
typedef int int32_t;
typedef long long int64_t;
#endif
