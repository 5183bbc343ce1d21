// Type-checking only: what libc++ expects of <xlocale.h> on Apple
// platforms, from glibc's headers and the three functions glibc lacks
// (see README.md).
#ifndef MOVARO_TYPECHECK_XLOCALE_H_
#define MOVARO_TYPECHECK_XLOCALE_H_
#include <ctype.h>
#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>
#ifdef __cplusplus
extern "C" {
#endif
int sscanf_l(const char*, locale_t, const char*, ...);
int snprintf_l(char*, size_t, locale_t, const char*, ...);
int asprintf_l(char**, locale_t, const char*, ...);
#ifdef __cplusplus
}
#endif
#endif  // MOVARO_TYPECHECK_XLOCALE_H_
