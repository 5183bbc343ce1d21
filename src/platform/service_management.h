// ServiceManagement: the main application's login item (macOS 13 and later)
// and the login-helper switch of older systems. Synchronous calls.
#ifndef MOVARO_PLATFORM_SERVICE_MANAGEMENT_H_
#define MOVARO_PLATFORM_SERVICE_MANAGEMENT_H_

#include <string>

#include "platform/platform_error.h"

namespace movaro::platform {

// SMAppService.Status raw values.
enum class LoginItemStatus : int {
  kNotRegistered = 0,
  kEnabled = 1,
  kRequiresApproval = 2,
  kNotFound = 3,
};

class ServiceManagement {
 public:
  virtual ~ServiceManagement() = default;
  virtual LoginItemStatus mainAppStatus() const = 0;
  virtual MaybeError registerMainApp() = 0;
  virtual MaybeError unregisterMainApp() = 0;
  // SMLoginItemSetEnabled: whether the change was accepted.
  virtual bool setLoginItemEnabled(const std::string& helperIdentifier,
                                   bool enabled) = 0;
  virtual void openSystemSettingsLoginItems() = 0;
};

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_SERVICE_MANAGEMENT_H_
