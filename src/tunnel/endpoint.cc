#include "tunnel/endpoint.h"

#include "platform/text/unicode_text.h"

namespace movaro {

std::optional<std::string> extractEndpoint(std::string_view configText) {
  for (const std::string& line : platform::splitLines(configText)) {
    std::string trimmed = platform::trimSpacesAndTabs(line);
    if (platform::lowercased(trimmed).rfind("endpoint", 0) != 0) {
      continue;
    }
    size_t equals = trimmed.find('=');
    if (equals == std::string::npos) {
      continue;
    }
    return platform::trimSpacesAndTabs(
        std::string_view(trimmed).substr(equals + 1));
  }
  return std::nullopt;
}

}  // namespace movaro
