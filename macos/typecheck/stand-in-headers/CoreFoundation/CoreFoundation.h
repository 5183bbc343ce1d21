// Stand-in for type-checking only: the few CoreFoundation declarations this
// project uses, as the macOS SDK declares them (CFBase.h, CFNumber.h,
// CFDictionary.h). GNUstep's Foundation has no CoreFoundation.
#ifndef MOVARO_STAND_IN_COREFOUNDATION_H_
#define MOVARO_STAND_IN_COREFOUNDATION_H_

#ifdef __cplusplus
#define CF_EXTERN_C_BEGIN extern "C" {
#define CF_EXTERN_C_END }
#else
#define CF_EXTERN_C_BEGIN
#define CF_EXTERN_C_END
#endif
#define CF_EXPORT extern
#define CF_BRIDGED_TYPE(T) __attribute__((objc_bridge(T)))
#define CF_BRIDGED_MUTABLE_TYPE(T) __attribute__((objc_bridge_mutable(T)))

CF_EXTERN_C_BEGIN

typedef unsigned char Boolean;
typedef unsigned long CFTypeID;
typedef unsigned long CFHashCode;
typedef signed long CFIndex;
typedef const CF_BRIDGED_TYPE(id) void* CFTypeRef;
typedef const struct CF_BRIDGED_TYPE(NSString) __CFString* CFStringRef;
typedef const struct CF_BRIDGED_TYPE(id) __CFAllocator* CFAllocatorRef;
typedef const struct CF_BRIDGED_TYPE(NSNumber) __CFBoolean* CFBooleanRef;
typedef const struct CF_BRIDGED_TYPE(NSDictionary)
    __CFDictionary* CFDictionaryRef;
typedef struct CF_BRIDGED_MUTABLE_TYPE(NSMutableDictionary)
    __CFDictionary* CFMutableDictionaryRef;

CF_EXPORT const CFAllocatorRef kCFAllocatorDefault;

CF_EXPORT CFTypeID CFGetTypeID(CFTypeRef cf);
CF_EXPORT void CFRelease(CFTypeRef cf);

CF_EXPORT const CFBooleanRef kCFBooleanTrue;
CF_EXPORT const CFBooleanRef kCFBooleanFalse;
CF_EXPORT CFTypeID CFBooleanGetTypeID(void);

typedef const void* (*CFDictionaryRetainCallBack)(CFAllocatorRef allocator,
                                                  const void* value);
typedef void (*CFDictionaryReleaseCallBack)(CFAllocatorRef allocator,
                                            const void* value);
typedef CFStringRef (*CFDictionaryCopyDescriptionCallBack)(const void* value);
typedef Boolean (*CFDictionaryEqualCallBack)(const void* value1,
                                             const void* value2);
typedef CFHashCode (*CFDictionaryHashCallBack)(const void* value);
typedef struct {
  CFIndex version;
  CFDictionaryRetainCallBack retain;
  CFDictionaryReleaseCallBack release;
  CFDictionaryCopyDescriptionCallBack copyDescription;
  CFDictionaryEqualCallBack equal;
  CFDictionaryHashCallBack hash;
} CFDictionaryKeyCallBacks;
typedef struct {
  CFIndex version;
  CFDictionaryRetainCallBack retain;
  CFDictionaryReleaseCallBack release;
  CFDictionaryCopyDescriptionCallBack copyDescription;
  CFDictionaryEqualCallBack equal;
} CFDictionaryValueCallBacks;

CF_EXPORT const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
CF_EXPORT const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

CF_EXPORT CFMutableDictionaryRef
CFDictionaryCreateMutable(CFAllocatorRef allocator,
                          CFIndex capacity,
                          const CFDictionaryKeyCallBacks* keyCallBacks,
                          const CFDictionaryValueCallBacks* valueCallBacks);
CF_EXPORT void CFDictionarySetValue(CFMutableDictionaryRef theDict,
                                    const void* key,
                                    const void* value);

CF_EXTERN_C_END

#endif  // MOVARO_STAND_IN_COREFOUNDATION_H_
