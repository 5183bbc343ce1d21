// Stand-in for type-checking only: <mach/mach_time.h> of the macOS SDK.
#ifndef MOVARO_STAND_IN_MACH_MACH_TIME_H_
#define MOVARO_STAND_IN_MACH_MACH_TIME_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int kern_return_t;

struct mach_timebase_info {
  uint32_t numer;
  uint32_t denom;
};
typedef struct mach_timebase_info* mach_timebase_info_t;
typedef struct mach_timebase_info mach_timebase_info_data_t;

kern_return_t mach_timebase_info(mach_timebase_info_t info);
uint64_t mach_absolute_time(void);

#ifdef __cplusplus
}
#endif

#endif  // MOVARO_STAND_IN_MACH_MACH_TIME_H_
