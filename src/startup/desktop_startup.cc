#include "startup/desktop_startup.h"

namespace movaro {

using platform::LoginItemStatus;

bool DesktopStartup::usesLoginItem() const {
  return platform::atLeast(system_.operatingSystemVersion(), 13);
}

ValueMap DesktopStartup::policy() const {
  bool enabled;
  bool requiresApproval;
  if (usesLoginItem()) {
    // The status is asked afresh for each key, as the system may change it.
    enabled = serviceManagement_.mainAppStatus() == LoginItemStatus::kEnabled;
    requiresApproval = serviceManagement_.mainAppStatus() ==
                       LoginItemStatus::kRequiresApproval;
  } else {
    enabled = defaults_.boolForKey(kEnabledKey);
    requiresApproval = false;
  }
  return dict({{"enabled", enabled},
               {"requiresApproval", requiresApproval},
               {"configured", defaults_.boolForKey(kConfiguredKey)}});
}

platform::MaybeError DesktopStartup::configure(bool enabled) {
  if (usesLoginItem()) {
    LoginItemStatus status = serviceManagement_.mainAppStatus();
    platform::MaybeError failure;
    if (enabled) {
      // A login item waiting for the user's approval counts as registered.
      if (status != LoginItemStatus::kEnabled &&
          serviceManagement_.mainAppStatus() !=
              LoginItemStatus::kRequiresApproval) {
        failure = serviceManagement_.registerMainApp();
      }
    } else if (status != LoginItemStatus::kNotRegistered) {
      failure = serviceManagement_.unregisterMainApp();
    }
    if (failure) {
      return failure;
    }
  } else if (!serviceManagement_.setLoginItemEnabled(kHelperIdentifier,
                                                     enabled)) {
    return platform::PlatformError{
        "HalvornStartup", 1, "The login helper could not be switched.", {}};
  }
  defaults_.setBool(kEnabledKey, enabled);
  defaults_.setBool(kConfiguredKey, true);
  return std::nullopt;
}

}  // namespace movaro
