// Stand-in for type-checking only: the part of <dispatch/dispatch.h> this
// project uses, as the macOS SDK declares it for Objective-C with ARC
// (OS_OBJECT_USE_OBJC: dispatch objects are Objective-C objects).
#ifndef MOVARO_STAND_IN_DISPATCH_DISPATCH_H_
#define MOVARO_STAND_IN_DISPATCH_DISPATCH_H_

#include <stdint.h>

#ifdef __OBJC__
#import <Foundation/NSObject.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef uint64_t dispatch_time_t;
#define DISPATCH_TIME_NOW (0ull)
#define DISPATCH_TIME_FOREVER (~0ull)
#define NSEC_PER_SEC 1000000000ull
#define NSEC_PER_MSEC 1000000ull
#define USEC_PER_SEC 1000000ull
#define NSEC_PER_USEC 1000ull

typedef void (^dispatch_block_t)(void);

#ifdef __OBJC__
@protocol OS_dispatch_object <NSObject>
@end
@protocol OS_dispatch_queue <OS_dispatch_object>
@end
@protocol OS_dispatch_queue_serial <OS_dispatch_queue>
@end
@protocol OS_dispatch_queue_main <OS_dispatch_queue_serial>
@end
typedef NSObject<OS_dispatch_queue>* dispatch_queue_t;
typedef NSObject<OS_dispatch_queue_main>* dispatch_queue_main_t;
#else
typedef struct dispatch_queue_s* dispatch_queue_t;
typedef struct dispatch_queue_s* dispatch_queue_main_t;
#endif

// A macro over a global object in the SDK; a function here.
dispatch_queue_main_t dispatch_get_main_queue(void);

dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
void dispatch_after(dispatch_time_t when,
                    dispatch_queue_t queue,
                    dispatch_block_t block);

#ifdef __cplusplus
}
#endif

#endif  // MOVARO_STAND_IN_DISPATCH_DISPATCH_H_
