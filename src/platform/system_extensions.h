// SystemExtensions: activation requests and their four delegate callbacks.
//
// The delegate callbacks are delivered later, on the main queue.
#ifndef MOVARO_PLATFORM_SYSTEM_EXTENSIONS_H_
#define MOVARO_PLATFORM_SYSTEM_EXTENSIONS_H_

#include <memory>
#include <string>

#include "platform/platform_error.h"

namespace movaro::platform {

// One activation request; callbacks name it by object identity.
class ActivationRequest {
 public:
  virtual ~ActivationRequest() = default;
  virtual std::string identifier() const = 0;
};

enum class ActivationResult { kCompleted, kWillCompleteAfterReboot };
enum class ReplacementAction { kCancel, kReplace };

struct ExtensionProperties {
  std::string bundleIdentifier;
  std::string bundleVersion;
  std::string bundleShortVersion;
};

class ActivationRequestDelegate {
 public:
  virtual ~ActivationRequestDelegate() = default;
  virtual void requestNeedsUserApproval(const ActivationRequest& request) = 0;
  virtual ReplacementAction actionForReplacingExtension(
      const ActivationRequest& request,
      const ExtensionProperties& existing,
      const ExtensionProperties& replacement) = 0;
  virtual void requestDidFinish(const ActivationRequest& request,
                                ActivationResult result) = 0;
  virtual void requestDidFail(const ActivationRequest& request,
                              const PlatformError& error) = 0;
};

class SystemExtensions {
 public:
  virtual ~SystemExtensions() = default;
  // An activation request whose callbacks come on the main queue.
  virtual std::shared_ptr<ActivationRequest> activationRequest(
      const std::string& identifier) = 0;
  // Submits the request; the delegate is held weakly, as macOS does.
  virtual void submitRequest(
      const std::shared_ptr<ActivationRequest>& request,
      std::weak_ptr<ActivationRequestDelegate> delegate) = 0;
};

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_SYSTEM_EXTENSIONS_H_
