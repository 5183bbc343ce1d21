// Force-included (-include) when type-checking on Linux: what Apple's
// Foundation declares and GNUstep's does not, so that code written against
// the macOS SDK parses against GNUstep's headers. Declarations follow the
// macOS SDK; availability attributes expand to nothing here, as they do for
// any platform other than the compilation target.
#ifndef MOVARO_TYPECHECK_APPLE_FOUNDATION_GAPS_H_
#define MOVARO_TYPECHECK_APPLE_FOUNDATION_GAPS_H_

#import <Foundation/Foundation.h>

// <objc/objc.h>: with clang, YES and NO are the BOOL literals, so that
// @YES and @NO are boxed booleans.
#if __has_feature(objc_bool)
#undef YES
#undef NO
#define YES __objc_yes
#define NO __objc_no
#endif

// Clang spells nullability with double underscores only on Apple targets
// (the SDK headers use both spellings). __nonnull stays glibc's attribute
// macro; the SDK declarations used here do not need it.
#ifndef __nullable
#define __nullable _Nullable
#endif
#ifndef __null_unspecified
#define __null_unspecified _Null_unspecified
#endif

// <os/availability.h> and <AvailabilityMacros.h>.
#define API_AVAILABLE(...)
#define API_UNAVAILABLE(...)
#define API_DEPRECATED(...)
#define API_DEPRECATED_WITH_REPLACEMENT(...)
#define __API_AVAILABLE(...)
#define __API_UNAVAILABLE(...)
#define __API_DEPRECATED(...)
#define __WATCHOS_PROHIBITED
#define __TVOS_PROHIBITED
#define __IOS_AVAILABLE(...)
#define __OSX_AVAILABLE(...)
#define __WATCHOS_AVAILABLE(...)
#define NS_ENUM_AVAILABLE_MAC(...)
// What API_UNAVAILABLE(macos) means when compiling for macOS; stand-in
// headers write it next to declarations macOS does not have.
#define MOVARO_UNAVAILABLE_ON_MACOS __attribute__((unavailable("not on macOS")))

// <Foundation/NSObjCRuntime.h> (Swift and concurrency annotations).
#define NS_SWIFT_NAME(name)
#define NS_SWIFT_UNAVAILABLE(message)
#define NS_SWIFT_SENDING
#define NS_SWIFT_SENDABLE
#define NS_SWIFT_UI_ACTOR
#define NS_REFINED_FOR_SWIFT
#define NS_EXTENSIBLE_STRING_ENUM
#define NS_TYPED_EXTENSIBLE_ENUM
#define NS_NONATOMIC_IOSONLY nonatomic
#define NS_ERROR_ENUM(domain, name) NS_ENUM(NSInteger, name)
// Apple's NS_UNAVAILABLE is the unavailable attribute (GNUstep's is empty),
// so unavailable methods need no implementation.
#undef NS_UNAVAILABLE
#define NS_UNAVAILABLE __attribute__((unavailable))
#ifndef NS_INLINE
#define NS_INLINE static inline __attribute__((always_inline))
#endif

// <os/base.h>.
#ifndef OS_EXPORT
#ifdef __cplusplus
#define OS_EXPORT extern "C" __attribute__((visibility("default")))
#else
#define OS_EXPORT extern __attribute__((visibility("default")))
#endif
#endif

// <MacTypes.h>, which Apple's Foundation brings in.
typedef unsigned char UInt8;
typedef unsigned short UInt16;
typedef unsigned int UInt32;
typedef signed char SInt8;
typedef signed short SInt16;
typedef signed int SInt32;

NS_ASSUME_NONNULL_BEGIN

// NSProcessInfo.h, macOS 10.10 and later.
typedef struct {
  NSInteger majorVersion;
  NSInteger minorVersion;
  NSInteger patchVersion;
} NSOperatingSystemVersion;

@interface NSProcessInfo (MovaroAppleFoundationGaps)
@property(readonly) NSOperatingSystemVersion operatingSystemVersion;
- (BOOL)isOperatingSystemAtLeastVersion:(NSOperatingSystemVersion)version;
@end

// NSFileManager.h, macOS 10.12 and later.
@interface NSFileManager (MovaroAppleFoundationGaps)
@property(readonly, copy) NSURL* homeDirectoryForCurrentUser;
@end

NS_ASSUME_NONNULL_END

#endif  // MOVARO_TYPECHECK_APPLE_FOUNDATION_GAPS_H_
