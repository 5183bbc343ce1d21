// UserNotifications: the current notification centre. Its authorisation and
// addition callbacks are handed on from the queue the system calls them on,
// as the seam's contract for this family says.
#include "platform/user_notifications.h"

#import <Foundation/Foundation.h>
#import <UserNotifications/UserNotifications.h>

#include "platform/apple/adapters_apple.h"
#include "platform/apple/conversions_apple.h"

namespace movaro::platform::apple {
namespace {

class AppleNotificationCenter : public NotificationCenter {
 public:
  void removePendingNotificationRequests(
      const std::vector<std::string>& identifiers) override {
    [UNUserNotificationCenter.currentNotificationCenter
        removePendingNotificationRequestsWithIdentifiers:toNSStringArray(
                                                             identifiers)];
  }

  void requestAuthorization(
      AuthorizationOptions options,
      std::function<void(bool granted, const MaybeError& error)> completion)
      override {
    NSUInteger flags = 0;
    if (options.alert) {
      flags |= UNAuthorizationOptionAlert;
    }
    if (options.sound) {
      flags |= UNAuthorizationOptionSound;
    }
    if (options.badge) {
      flags |= UNAuthorizationOptionBadge;
    }
    [UNUserNotificationCenter.currentNotificationCenter
        requestAuthorizationWithOptions:static_cast<UNAuthorizationOptions>(
                                            flags)
                      completionHandler:^(BOOL granted,
                                          NSError* _Nullable error) {
                        guarded(
                            [&] { completion(granted, toMaybeError(error)); });
                      }];
  }

  // The trigger needs a positive interval, and at least 60 seconds when it
  // repeats; the plugins schedule only such requests.
  void add(const NotificationRequest& request,
           ErrorCompletion completion) override {
    UNMutableNotificationContent* content =
        [[UNMutableNotificationContent alloc] init];
    content.title = toNSString(request.title);
    content.body = toNSString(request.body);
    if (request.defaultSound) {
      content.sound = UNNotificationSound.defaultSound;
    }
    UNTimeIntervalNotificationTrigger* trigger =
        [UNTimeIntervalNotificationTrigger
            triggerWithTimeInterval:request.timeInterval
                            repeats:request.repeats];
    [UNUserNotificationCenter.currentNotificationCenter
        addNotificationRequest:[UNNotificationRequest
                                   requestWithIdentifier:toNSString(
                                                             request.identifier)
                                                 content:content
                                                 trigger:trigger]
         withCompletionHandler:^(NSError* _Nullable error) {
           guarded([&] { completion(toMaybeError(error)); });
         }];
  }
};

}  // namespace

std::unique_ptr<NotificationCenter> makeNotificationCenter() {
  return std::make_unique<AppleNotificationCenter>();
}

}  // namespace movaro::platform::apple
