// Stand-in for type-checking only: UNUserNotificationCenter.h,
// UNNotificationContent.h, UNNotificationSound.h, UNNotificationTrigger.h
// and UNNotificationRequest.h of the macOS SDK, the declarations this
// project uses, with the same selectors, types, nullability and raw values.
// Laid out as the SDK lays it out (clang-format 14 cannot keep class
// annotations stable).
// clang-format off
#ifndef MOVARO_STAND_IN_USERNOTIFICATIONS_H_
#define MOVARO_STAND_IN_USERNOTIFICATIONS_H_

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_OPTIONS(NSUInteger, UNAuthorizationOptions) {
  UNAuthorizationOptionBadge = (1 << 0),
  UNAuthorizationOptionSound = (1 << 1),
  UNAuthorizationOptionAlert = (1 << 2),
  UNAuthorizationOptionCarPlay = (1 << 3),
  UNAuthorizationOptionCriticalAlert
      __API_AVAILABLE(macos(10.14), ios(12.0)) = (1 << 4),
  UNAuthorizationOptionProvidesAppNotificationSettings
      __API_AVAILABLE(macos(10.14), ios(12.0)) = (1 << 5),
  UNAuthorizationOptionProvisional
      __API_AVAILABLE(macos(10.14), ios(12.0)) = (1 << 6),
} __API_AVAILABLE(macos(10.14), ios(10.0), watchos(3.0), tvos(10.0));

@class UNNotificationSound;
@class UNNotificationTrigger;

__API_AVAILABLE(macos(10.14), ios(10.0), watchos(3.0), tvos(10.0))
@interface UNNotificationContent : NSObject <NSCopying, NSSecureCoding>
@property(NS_NONATOMIC_IOSONLY, readonly, copy) NSString* title;
@property(NS_NONATOMIC_IOSONLY, readonly, copy) NSString* subtitle;
@property(NS_NONATOMIC_IOSONLY, readonly, copy) NSString* body;
@property(NS_NONATOMIC_IOSONLY, readonly, copy, nullable)
    UNNotificationSound* sound;
@property(NS_NONATOMIC_IOSONLY, readonly, copy) NSDictionary* userInfo;
@end

__API_AVAILABLE(macos(10.14), ios(10.0), watchos(3.0), tvos(10.0))
@interface UNMutableNotificationContent : UNNotificationContent
@property(NS_NONATOMIC_IOSONLY, copy) NSString* title;
@property(NS_NONATOMIC_IOSONLY, copy) NSString* subtitle;
@property(NS_NONATOMIC_IOSONLY, copy) NSString* body;
@property(NS_NONATOMIC_IOSONLY, copy, nullable) UNNotificationSound* sound;
@property(NS_NONATOMIC_IOSONLY, copy) NSDictionary* userInfo;
@end

__API_AVAILABLE(macos(10.14), ios(10.0), watchos(3.0)) __API_UNAVAILABLE(tvos)
@interface UNNotificationSound : NSObject <NSCopying, NSSecureCoding>
@property(class, NS_NONATOMIC_IOSONLY, copy, readonly)
    UNNotificationSound* defaultSound;
- (instancetype)init NS_UNAVAILABLE;
@end

__API_AVAILABLE(macos(10.14), ios(10.0), watchos(3.0), tvos(10.0))
@interface UNNotificationTrigger : NSObject <NSCopying, NSSecureCoding>
@property(NS_NONATOMIC_IOSONLY, readonly) BOOL repeats;
- (instancetype)init NS_UNAVAILABLE;
@end

__API_AVAILABLE(macos(10.14), ios(10.0), watchos(3.0), tvos(10.0))
@interface UNTimeIntervalNotificationTrigger : UNNotificationTrigger
@property(NS_NONATOMIC_IOSONLY, readonly) NSTimeInterval timeInterval;
+ (instancetype)triggerWithTimeInterval:(NSTimeInterval)timeInterval
                                repeats:(BOOL)repeats;
- (nullable NSDate*)nextTriggerDate;
@end

__API_AVAILABLE(macos(10.14), ios(10.0), watchos(3.0), tvos(10.0))
@interface UNNotificationRequest : NSObject <NSCopying, NSSecureCoding>
@property(NS_NONATOMIC_IOSONLY, readonly, copy) NSString* identifier;
@property(NS_NONATOMIC_IOSONLY, readonly, copy) UNNotificationContent* content;
@property(NS_NONATOMIC_IOSONLY, readonly, copy, nullable)
    UNNotificationTrigger* trigger;
+ (instancetype)requestWithIdentifier:(NSString*)identifier
                              content:(UNNotificationContent*)content
                              trigger:(nullable UNNotificationTrigger*)trigger;
- (instancetype)init NS_UNAVAILABLE;
@end

__API_AVAILABLE(macos(10.14), ios(10.0), watchos(3.0), tvos(10.0))
@interface UNUserNotificationCenter : NSObject
+ (UNUserNotificationCenter*)currentNotificationCenter;
- (instancetype)init NS_UNAVAILABLE;
- (void)requestAuthorizationWithOptions:(UNAuthorizationOptions)options
                      completionHandler:
                          (void (^)(BOOL granted,
                                    NSError* __nullable error))completionHandler;
- (void)addNotificationRequest:(UNNotificationRequest*)request
         withCompletionHandler:
             (nullable void (^)(NSError* __nullable error))completionHandler;
- (void)getPendingNotificationRequestsWithCompletionHandler:
    (void (^)(NSArray<UNNotificationRequest*>* requests))completionHandler;
- (void)removePendingNotificationRequestsWithIdentifiers:
    (NSArray<NSString*>*)identifiers;
- (void)removeAllPendingNotificationRequests;
- (void)removeDeliveredNotificationsWithIdentifiers:
    (NSArray<NSString*>*)identifiers __API_UNAVAILABLE(tvos);
@end

NS_ASSUME_NONNULL_END

#endif  // MOVARO_STAND_IN_USERNOTIFICATIONS_H_
// clang-format on
