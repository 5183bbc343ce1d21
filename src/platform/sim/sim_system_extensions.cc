#include "platform/sim/sim_system_extensions.h"

namespace movaro::sim {

std::shared_ptr<platform::ActivationRequest>
SimSystemExtensions::activationRequest(const std::string& identifier) {
  return std::make_shared<SimActivationRequest>(identifier);
}

void SimSystemExtensions::submitRequest(
    const std::shared_ptr<platform::ActivationRequest>& request,
    std::weak_ptr<platform::ActivationRequestDelegate> delegate) {
  log_.record("sysext.submit",
              dict({{"identifier", request->identifier()},
                    {"index", static_cast<int64_t>(submitted_.size())}}));
  submitted_.push_back(Submitted{request, std::move(delegate)});
}

bool SimSystemExtensions::answer(size_t index, ActivationOutcome outcome) {
  if (index >= submitted_.size()) {
    return false;
  }
  Submitted target = submitted_[index];
  dispatch_.post([this, target, outcome] {
    auto delegate = target.delegate.lock();
    if (!delegate) {
      return;
    }
    const platform::ActivationRequest& request = *target.request;
    switch (outcome) {
      case ActivationOutcome::kNeedsApproval:
        delegate->requestNeedsUserApproval(request);
        break;
      case ActivationOutcome::kCompleted:
        delegate->requestDidFinish(request,
                                   platform::ActivationResult::kCompleted);
        break;
      case ActivationOutcome::kWillCompleteAfterReboot:
        delegate->requestDidFinish(
            request, platform::ActivationResult::kWillCompleteAfterReboot);
        break;
      case ActivationOutcome::kFailed:
        delegate->requestDidFail(
            request,
            platform::PlatformError{"OSSystemExtensionErrorDomain",
                                    8,
                                    "The extension could not be activated.",
                                    {}});
        break;
      case ActivationOutcome::kReplace:
        replacementAnswers.push_back(delegate->actionForReplacingExtension(
            request, {request.identifier(), "1", "1.0"},
            {request.identifier(), "2", "2.0"}));
        log_.record(
            "sysext.replace",
            dict({{"identifier", request.identifier()},
                  {"action", replacementAnswers.back() ==
                                     platform::ReplacementAction::kReplace
                                 ? "replace"
                                 : "cancel"}}));
        break;
    }
  });
  return true;
}

}  // namespace movaro::sim
