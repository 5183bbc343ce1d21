// The one-shot reply of a method call: a value, an error or not-implemented.
#ifndef MOVARO_BRIDGE_METHOD_RESULT_H_
#define MOVARO_BRIDGE_METHOD_RESULT_H_

#include <optional>
#include <string>

#include "bridge/value.h"

namespace movaro {

// An error reply. Details are always absent in this system, so they are not
// carried; the wire envelope writes null for them.
struct PluginError {
  std::string code;
  std::optional<std::string> message;
};

// The answer to a call whose handling failed inside the library with a C++
// exception (out of memory, a service that broke its contract).
PluginError internalError();

// Takes the first answer and ignores later ones.
class MethodResult {
 public:
  MethodResult() = default;
  MethodResult(const MethodResult&) = delete;
  MethodResult& operator=(const MethodResult&) = delete;
  virtual ~MethodResult() = default;

  void success(const Value& value = Value());
  void error(const PluginError& error);
  void error(const std::string& code,
             const std::optional<std::string>& message);
  void notImplemented();

  bool answered() const { return answered_; }

 protected:
  virtual void onSuccess(const Value& value) = 0;
  virtual void onError(const PluginError& error) = 0;
  virtual void onNotImplemented() = 0;

 private:
  bool answered_ = false;
};

}  // namespace movaro

#endif  // MOVARO_BRIDGE_METHOD_RESULT_H_
