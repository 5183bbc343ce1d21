// "prepareVpn": activation of the mesh provider's system extension, with
// the approval pane and a 240-second wait for the user.
#include "mesh/desktop_mesh_plugin.h"

namespace movaro {
namespace {

constexpr const char* kExtensionApprovalUrl =
    "x-apple.systempreferences:com.apple.ExtensionsPreferences?"
    "extensionPointIdentifier=com.apple.networkextension.packet-tunnel";
const platform::Duration kApprovalDeadline = std::chrono::seconds(240);

}  // namespace

void DesktopMeshPlugin::prepareVpn(const Reply& result) {
  if (!engineAvailable()) {
    result->success(false);
    return;
  }
  if (activationRequest) {
    // The request in flight answers this call; the earlier caller hears no.
    answerWaitingPrepare(false);
    activationResult = result;
    services_.workspace.openUrl(kExtensionApprovalUrl);
    return;
  }
  activationRequest =
      services_.systemExtensions.activationRequest(providerIdentifier());
  activationResult = result;
  services_.systemExtensions.submitRequest(activationRequest, weak_from_this());
}

bool DesktopMeshPlugin::isCurrentRequest(
    const platform::ActivationRequest& request) const {
  return activationRequest.get() == &request;
}

void DesktopMeshPlugin::endActivation(bool value) {
  activationRequest.reset();
  approvalDeadline.cancel();
  answerWaitingPrepare(value);
}

void DesktopMeshPlugin::requestNeedsUserApproval(
    const platform::ActivationRequest& request) {
  if (!isCurrentRequest(request)) {
    return;
  }
  services_.workspace.openUrl(kExtensionApprovalUrl);
  // A second approval callback restarts the wait.
  std::shared_ptr<platform::ActivationRequest> held = activationRequest;
  approvalDeadline = services_.dispatch.postAfter(
      kApprovalDeadline,
      platform::onMain(platform::kDeliveredOnMain, weak_from_this(),
                       [held](DesktopMeshPlugin& self) {
                         if (self.activationRequest == held) {
                           // The system request itself is not cancelled.
                           self.endActivation(false);
                         }
                       }));
}

platform::ReplacementAction DesktopMeshPlugin::actionForReplacingExtension(
    const platform::ActivationRequest& /*request*/,
    const platform::ExtensionProperties& /*existing*/,
    const platform::ExtensionProperties& /*replacement*/) {
  return platform::ReplacementAction::kReplace;
}

void DesktopMeshPlugin::requestDidFinish(
    const platform::ActivationRequest& request,
    platform::ActivationResult result) {
  if (isCurrentRequest(request)) {
    endActivation(result == platform::ActivationResult::kCompleted);
  }
}

void DesktopMeshPlugin::requestDidFail(
    const platform::ActivationRequest& request,
    const platform::PlatformError& /*error*/) {
  if (isCurrentRequest(request)) {
    endActivation(false);
  }
}

}  // namespace movaro
