// UserNotifications: authorisation and pending local notifications.
//
// Unlike the other families, the authorisation and addition callbacks
// arrive on queues of the system's choosing, possibly at the same time.
#ifndef MOVARO_PLATFORM_USER_NOTIFICATIONS_H_
#define MOVARO_PLATFORM_USER_NOTIFICATIONS_H_

#include <functional>
#include <string>
#include <vector>

#include "platform/platform_error.h"

namespace movaro::platform {

// A request with its content and a time-interval trigger.
struct NotificationRequest {
  std::string identifier;
  std::string title;
  std::string body;
  bool defaultSound = true;
  double timeInterval = 0;
  bool repeats = false;
};

struct AuthorizationOptions {
  bool alert = false;
  bool sound = false;
  bool badge = false;
};

class NotificationCenter {
 public:
  virtual ~NotificationCenter() = default;
  virtual void removePendingNotificationRequests(
      const std::vector<std::string>& identifiers) = 0;
  virtual void requestAuthorization(
      AuthorizationOptions options,
      std::function<void(bool granted, const MaybeError& error)>
          completion) = 0;
  virtual void add(const NotificationRequest& request,
                   ErrorCompletion completion) = 0;
};

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_USER_NOTIFICATIONS_H_
