// Matchers for replies.
#ifndef MOVARO_TESTS_SUPPORT_MATCHERS_H_
#define MOVARO_TESTS_SUPPORT_MATCHERS_H_

#include <gmock/gmock.h>

#include "support/plugin_harness.h"

namespace movaro::testing {

// An error reply with this code and message, and no details.
MATCHER_P2(IsError, code, message, "") {
  const ErrorEnvelope* error = arg->error();
  if (error == nullptr) {
    *result_listener << "not an error reply";
    return false;
  }
  *result_listener << "error " << error->code << " / "
                   << error->message.value_or("(no message)");
  return error->code == code && error->message == message &&
         error->details.isNull();
}

MATCHER_P(IsValue, expected, "") {
  if (!arg->envelope) {
    *result_listener << "unanswered";
    return false;
  }
  const auto* success = std::get_if<SuccessEnvelope>(&*arg->envelope);
  if (success == nullptr) {
    *result_listener << "not a value reply";
    return false;
  }
  return success->value == Value(expected);
}

MATCHER(IsNotImplemented, "") {
  return arg->notImplemented();
}

MATCHER(IsUnanswered, "") {
  return !arg->answered();
}

}  // namespace movaro::testing

#endif  // MOVARO_TESTS_SUPPORT_MATCHERS_H_
