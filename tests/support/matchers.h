// Matchers for replies.
#ifndef MOVARO_TESTS_SUPPORT_MATCHERS_H_
#define MOVARO_TESTS_SUPPORT_MATCHERS_H_

#include <gmock/gmock.h>

#include "support/plugin_harness.h"

namespace movaro::testing {

// The reply itself is printed on a mismatch (PrintTo in the harness).
// An error reply with this code and message, and no details.
MATCHER_P2(IsError, code, message, "") {
  const ErrorEnvelope* error = arg->error();
  return error != nullptr && error->code == code && error->message == message &&
         error->details.isNull();
}

MATCHER_P(IsValue, expected, "") {
  const auto* success =
      arg->envelope ? std::get_if<SuccessEnvelope>(&*arg->envelope) : nullptr;
  return success != nullptr && success->value == Value(expected);
}

MATCHER(IsUnanswered, "") {
  return !arg->answered();
}

}  // namespace movaro::testing

#endif  // MOVARO_TESTS_SUPPORT_MATCHERS_H_
