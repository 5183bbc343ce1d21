// ServiceManagement: the main application's SMAppService (macOS 13 and
// later) and, before it, SMLoginItemSetEnabled on the login helper. The
// plugins pick the path by the system version; on systems without
// SMAppService its calls report "not registered" and do nothing.
#include "platform/service_management.h"

#include <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>
#import <ServiceManagement/ServiceManagement.h>

#include "platform/apple/adapters_apple.h"
#include "platform/apple/conversions_apple.h"

namespace movaro::platform::apple {
namespace {

// What the SMAppService calls report where the class does not exist
// (NSFeatureUnsupportedError).
PlatformError unavailable() {
  return PlatformError{toStdString(NSCocoaErrorDomain),
                       3328,
                       "Login items need macOS 13 or later.",
                       {}};
}

class AppleServiceManagement : public ServiceManagement {
 public:
  LoginItemStatus mainAppStatus() const override {
    if (@available(macOS 13, *)) {
      return static_cast<LoginItemStatus>(SMAppService.mainAppService.status);
    }
    return LoginItemStatus::kNotRegistered;
  }

  MaybeError registerMainApp() override {
    if (@available(macOS 13, *)) {
      NSError* error = nil;
      return [SMAppService.mainAppService registerAndReturnError:&error]
                 ? std::nullopt
                 : MaybeError(toPlatformError(error));
    }
    return unavailable();
  }

  MaybeError unregisterMainApp() override {
    if (@available(macOS 13, *)) {
      NSError* error = nil;
      return [SMAppService.mainAppService unregisterAndReturnError:&error]
                 ? std::nullopt
                 : MaybeError(toPlatformError(error));
    }
    return unavailable();
  }

  bool setLoginItemEnabled(const std::string& helperIdentifier,
                           bool enabled) override {
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
    // Deprecated in macOS 13, where SMAppService replaces it; the plugins
    // call it only on older systems.
    return SMLoginItemSetEnabled(
        (__bridge CFStringRef)toNSString(helperIdentifier), enabled);
#pragma clang diagnostic pop
  }

  void openSystemSettingsLoginItems() override {
    if (@available(macOS 13, *)) {
      [SMAppService openSystemSettingsLoginItems];
    }
  }
};

}  // namespace

std::unique_ptr<ServiceManagement> makeServiceManagement() {
  return std::make_unique<AppleServiceManagement>();
}

}  // namespace movaro::platform::apple
