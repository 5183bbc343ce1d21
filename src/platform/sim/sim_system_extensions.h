// The simulated Mac's system-extension manager: submitted activation
// requests, answered on command.
#ifndef MOVARO_PLATFORM_SIM_SIM_SYSTEM_EXTENSIONS_H_
#define MOVARO_PLATFORM_SIM_SIM_SYSTEM_EXTENSIONS_H_

#include <memory>
#include <string>
#include <vector>

#include "platform/sim/os_log.h"
#include "platform/sim/sim_dispatch.h"
#include "platform/system_extensions.h"

namespace movaro::sim {

class SimActivationRequest : public platform::ActivationRequest {
 public:
  explicit SimActivationRequest(std::string identifier)
      : identifier_(std::move(identifier)) {}
  std::string identifier() const override { return identifier_; }

 private:
  std::string identifier_;
};

enum class ActivationOutcome {
  kNeedsApproval,
  kCompleted,
  kWillCompleteAfterReboot,
  kFailed,
  kReplace,  // asks the delegate whether to replace an installed version
};

class SimSystemExtensions : public platform::SystemExtensions {
 public:
  SimSystemExtensions(SimDispatch& dispatch, OsLog& log)
      : dispatch_(dispatch), log_(log) {}

  std::shared_ptr<platform::ActivationRequest> activationRequest(
      const std::string& identifier) override;
  void submitRequest(
      const std::shared_ptr<platform::ActivationRequest>& request,
      std::weak_ptr<platform::ActivationRequestDelegate> delegate) override;

  struct Submitted {
    std::shared_ptr<platform::ActivationRequest> request;
    std::weak_ptr<platform::ActivationRequestDelegate> delegate;
  };
  const std::vector<Submitted>& submitted() const { return submitted_; }
  // Delivers an outcome for the request at `index` (in submission order),
  // on the main queue. False when there is no such request.
  bool answer(size_t index, ActivationOutcome outcome);
  // The delegate's answers to replacement questions, in order.
  std::vector<platform::ReplacementAction> replacementAnswers;

 private:
  SimDispatch& dispatch_;
  OsLog& log_;
  std::vector<Submitted> submitted_;
};

}  // namespace movaro::sim

#endif  // MOVARO_PLATFORM_SIM_SIM_SYSTEM_EXTENSIONS_H_
