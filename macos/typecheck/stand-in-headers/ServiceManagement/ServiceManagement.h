// Stand-in for type-checking only: SMAppService.h and SMLoginItem.h of the
// macOS SDK, the declarations this project uses, with the same selectors,
// types, nullability and raw values.
#ifndef MOVARO_STAND_IN_SERVICEMANAGEMENT_H_
#define MOVARO_STAND_IN_SERVICEMANAGEMENT_H_

#include <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>

#ifdef __cplusplus
#define SM_EXPORT extern "C"
#else
#define SM_EXPORT extern
#endif

NS_ASSUME_NONNULL_BEGIN

// SMLoginItem.h
SM_EXPORT Boolean SMLoginItemSetEnabled(CFStringRef identifier, Boolean enabled)
    API_DEPRECATED("Please use SMAppService instead", macos(10.6, 13.0));

// SMAppService.h

typedef NS_ENUM(NSInteger, SMAppServiceStatus) {
  SMAppServiceStatusNotRegistered = 0,
  SMAppServiceStatusEnabled = 1,
  SMAppServiceStatusRequiresApproval = 2,
  SMAppServiceStatusNotFound = 3,
} NS_SWIFT_NAME(SMAppService.Status) API_AVAILABLE(macos(13.0));

API_AVAILABLE(macos(13.0))
@interface SMAppService : NSObject
+ (instancetype)loginItemServiceWithIdentifier:(NSString*)identifier
    NS_SWIFT_NAME(loginItem(identifier:));
@property(class, readonly) SMAppService* mainAppService NS_SWIFT_NAME(mainApp);
+ (instancetype)agentServiceWithPlistName:(NSString*)plistName
    NS_SWIFT_NAME(agent(plistName:));
+ (instancetype)daemonServiceWithPlistName:(NSString*)plistName
    NS_SWIFT_NAME(daemon(plistName:));
- (BOOL)registerAndReturnError:(NSError* _Nullable* _Nullable)error;
- (BOOL)unregisterAndReturnError:(NSError* _Nullable* _Nullable)error;
- (void)unregisterWithCompletionHandler:
    (void (^)(NSError* _Nullable error))handler;
@property(readonly) SMAppServiceStatus status;
+ (SMAppServiceStatus)statusForLegacyURL:(NSURL*)url
    NS_SWIFT_NAME(statusForLegacyPlist(at:));
+ (void)openSystemSettingsLoginItems;
@end

NS_ASSUME_NONNULL_END

#endif  // MOVARO_STAND_IN_SERVICEMANAGEMENT_H_
