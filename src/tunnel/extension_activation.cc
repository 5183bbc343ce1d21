// Activation of the packet-tunnel system extension before a connect.
#include "tunnel/movaro_platform_plugin.h"

namespace movaro {
namespace {

PluginError extensionApprovalError() {
  return {"EXTENSION_APPROVAL_REQUIRED",
          "Allow Halvorn VPN in System Settings > General > Login Items & "
          "Extensions > Network Extensions, then connect again."};
}

}  // namespace

void MovaroPlatformPlugin::activateTunnelExtension(
    const Reply& result,
    ExtensionCompletion completion) {
  const std::string identifier = extensionIdentifier();
  const std::string path = services_.mainBundle.bundlePath() +
                           "/Contents/Library/SystemExtensions/" + identifier +
                           ".systemextension";
  if (!services_.fileManager.fileExists(path)) {
    // A development build carries no extension: straight on to the profile.
    completion(std::nullopt);
    return;
  }
  if (pendingExtensionRequest) {
    // Waiting for the user, or merely slow: either way, not again.
    result->error(extensionApprovalError());
    return;
  }
  auto request = services_.systemExtensions.activationRequest(identifier);
  pendingExtensionRequest = request;
  // A leftover completion is dropped unanswered.
  pendingExtensionCompletion = std::move(completion);
  services_.systemExtensions.submitRequest(request, weak_from_this());
}

bool MovaroPlatformPlugin::isPendingRequest(
    const platform::ActivationRequest& request) const {
  return pendingExtensionRequest.get() == &request;
}

void MovaroPlatformPlugin::finishExtensionWait(
    const std::optional<PluginError>& outcome) {
  ExtensionCompletion waiting = std::move(pendingExtensionCompletion);
  pendingExtensionCompletion = nullptr;
  if (waiting) {
    waiting(outcome);
  }
}

void MovaroPlatformPlugin::requestNeedsUserApproval(
    const platform::ActivationRequest& request) {
  if (!isPendingRequest(request)) {
    return;
  }
  // The request stays submitted while the user decides.
  finishExtensionWait(extensionApprovalError());
}

platform::ReplacementAction MovaroPlatformPlugin::actionForReplacingExtension(
    const platform::ActivationRequest& /*request*/,
    const platform::ExtensionProperties& /*existing*/,
    const platform::ExtensionProperties& /*replacement*/) {
  return platform::ReplacementAction::kReplace;
}

void MovaroPlatformPlugin::requestDidFinish(
    const platform::ActivationRequest& request,
    platform::ActivationResult result) {
  if (!isPendingRequest(request)) {
    return;
  }
  pendingExtensionRequest.reset();
  if (result == platform::ActivationResult::kCompleted) {
    finishExtensionWait(std::nullopt);
  } else {
    finishExtensionWait(PluginError{
        "EXTENSION_RESTART_REQUIRED",
        "Restart this Mac to finish enabling Halvorn VPN, then connect "
        "again."});
  }
}

void MovaroPlatformPlugin::requestDidFail(
    const platform::ActivationRequest& request,
    const platform::PlatformError& /*error*/) {
  if (!isPendingRequest(request)) {
    return;
  }
  pendingExtensionRequest.reset();
  finishExtensionWait(PluginError{
      "EXTENSION_ACTIVATION_FAILED",
      "macOS could not enable the Halvorn VPN network extension. Check its "
      "permission in System Settings and try again."});
}

}  // namespace movaro
