// What the reply of each method may look like, which events exist, and
// what the mesh plugin must do at once and by when. Methods are named
// "main.connect", "mesh.login", "events.listen".
#ifndef MOVARO_TESTS_SUPPORT_STRESS_RULES_H_
#define MOVARO_TESTS_SUPPORT_STRESS_RULES_H_

#include <optional>
#include <string>
#include <utility>

#include "support/plugin_harness.h"

namespace movaro::stress {

// Whether the method is answered before the call returns (unknown names
// are, with not implemented).
bool answersAtOnce(const std::string& name);
bool isKnownEvent(const Value& event);
// The success value; null for anything else.
Value replyValue(const testing::ReplyRecord& reply);
std::string describeReply(const testing::ReplyRecord& reply);
// Why an answer does not fit its method; nothing when it fits.
std::optional<std::string> replyProblem(const std::string& name,
                                        const testing::ReplyRecord& reply);

// How long a mesh call may stay unanswered (absent: no bound of its own),
// counted from the call or from the last moment the Mac held a completion
// back, whichever is later.
std::optional<platform::Duration> meshBound(const std::string& name);
Value expectedCapabilities(int macosMajor, bool engine);

// What a mesh login met when it was called.
struct LoginState {
  bool engine;
  bool valid;  // its arguments pass every rule
  bool otherLoginRuns;
  bool meshBusy;  // a login or a logout is unanswered
};
// The kind and text of the rule a login broke before the call returned.
std::optional<std::pair<std::string, std::string>> loginProblem(
    const LoginState& state,
    const testing::ReplyRecord& reply);

}  // namespace movaro::stress

#endif  // MOVARO_TESTS_SUPPORT_STRESS_RULES_H_
