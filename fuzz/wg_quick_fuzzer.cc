// Runs the wg-quick reader on arbitrary bytes and checks what must hold for
// every input: no crash or sanitizer report, a verdict that validation and
// parsing agree on, a well-formed one-sentence message for every failure,
// and an accepted text that is accepted again once its line ends change.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "fuzz_check.h"
#include "platform/text/unicode_text.h"
#include "platform/wireguard/wg_quick.h"

namespace {

using movaro::platform::WgQuickConfig;
using movaro::platform::WgQuickError;

std::string withCrLf(std::string_view text) {
  std::string out;
  out.reserve(text.size() * 2);
  for (char c : text) {
    out += c == '\n' ? std::string_view("\r\n") : std::string_view(&c, 1);
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto result = movaro::platform::parseWgQuickConfig(text, "fuzz");
  const auto validated = movaro::platform::validateWgQuickConfig(text, "fuzz");
  const auto* error = std::get_if<WgQuickError>(&result);
  check(validated.has_value() == (error != nullptr));
  if (error != nullptr) {
    check(validated->failure == error->failure);
    check(!error->message.empty() && error->message.back() == '.');
    check(error->message.size() < 1024);
    check(movaro::platform::isValidUtf8(error->message));
    check(movaro::platform::isValidUtf8(error->subject));
    return 0;
  }
  const auto& config = std::get<WgQuickConfig>(result);
  check(config.name == "fuzz");
  // Line ends do not matter, as long as a lone CR does not meet an LF.
  if (text.find('\r') == std::string_view::npos) {
    check(!movaro::platform::validateWgQuickConfig(withCrLf(text), "fuzz"));
  }
  return 0;
}
