#include "bridge/method_result.h"

namespace movaro {

PluginError internalError() {
  return {"INTERNAL_ERROR", "The platform layer could not complete the call."};
}

void MethodResult::success(const Value& value) {
  if (answered_) {
    return;
  }
  answered_ = true;
  onSuccess(value);
}

void MethodResult::error(const PluginError& error) {
  if (answered_) {
    return;
  }
  answered_ = true;
  onError(error);
}

void MethodResult::error(const std::string& code,
                         const std::optional<std::string>& message) {
  error(PluginError{code, message});
}

void MethodResult::notImplemented() {
  if (answered_) {
    return;
  }
  answered_ = true;
  onNotImplemented();
}

}  // namespace movaro
