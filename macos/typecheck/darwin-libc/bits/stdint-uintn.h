// Type-checking only: the exact-width unsigned integers as macOS declares
// them, uint64_t being unsigned long long (see README.md).
#ifndef _BITS_STDINT_UINTN_H
#define _BITS_STDINT_UINTN_H 1
typedef unsigned char uint8_t;
typedef unsigned short uint16_t;
typedef unsigned int uint32_t;
typedef unsigned long long uint64_t;
#endif
