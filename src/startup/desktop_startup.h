// Launch at login: the login item of the application itself on macOS 13
// and later, the login helper before; the user's choice in the defaults.
#ifndef MOVARO_STARTUP_DESKTOP_STARTUP_H_
#define MOVARO_STARTUP_DESKTOP_STARTUP_H_

#include "bridge/value.h"
#include "platform/foundation.h"
#include "platform/platform_error.h"
#include "platform/service_management.h"

namespace movaro {

class DesktopStartup {
 public:
  static constexpr const char* kEnabledKey = "HalvornDesktopStartupEnabled";
  static constexpr const char* kConfiguredKey =
      "HalvornDesktopStartupConfigured";
  static constexpr const char* kHelperIdentifier =
      "com.quillfen.movaro.macos.login-helper";

  DesktopStartup(platform::ServiceManagement& serviceManagement,
                 platform::UserDefaults& defaults,
                 const platform::SystemInfo& system)
      : serviceManagement_(serviceManagement),
        defaults_(defaults),
        system_(system) {}

  // {"enabled", "requiresApproval", "configured"}; changes nothing.
  ValueMap policy() const;
  // Registers or unregisters as asked and records both keys; on failure
  // neither key is touched.
  platform::MaybeError configure(bool enabled);

 private:
  bool usesLoginItem() const;

  platform::ServiceManagement& serviceManagement_;
  platform::UserDefaults& defaults_;
  const platform::SystemInfo& system_;
};

}  // namespace movaro

#endif  // MOVARO_STARTUP_DESKTOP_STARTUP_H_
