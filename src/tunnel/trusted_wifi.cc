#include "tunnel/trusted_wifi.h"

#include <algorithm>
#include <set>

#include "platform/text/unicode_text.h"
#include "tunnel/movaro_platform_plugin.h"

namespace movaro {

std::vector<std::string> sanitizedWifiSsids(const std::optional<Value>& value) {
  const auto* list = value ? value->getIf<ValueList>() : nullptr;
  if (list == nullptr) {
    return {};
  }
  // Pairs of (composed form, spelling as received).
  std::vector<std::pair<std::string, std::string>> kept;
  std::set<std::string> seen;
  for (const Value& element : *list) {
    const auto* text = element.getIf<std::string>();
    if (text == nullptr) {
      continue;
    }
    std::string name = platform::trimWhitespaceAndNewlines(*text);
    if (name.empty() || platform::graphemeCount(name) > kMaxSsidCharacters) {
      continue;
    }
    std::string composed = platform::toNfc(name);
    if (seen.insert(composed).second) {
      kept.emplace_back(std::move(composed), std::move(name));
    }
  }
  // UTF-8 byte order is the order of the Unicode scalars.
  std::sort(kept.begin(), kept.end());
  std::vector<std::string> result;
  result.reserve(kept.size());
  for (auto& [composed, name] : kept) {
    result.push_back(std::move(name));
  }
  return result;
}

std::vector<platform::OnDemandRule> onDemandRules(
    const std::vector<std::string>& trustedWifiSsids) {
  using Action = platform::OnDemandRule::Action;
  std::vector<platform::OnDemandRule> rules;
  if (!trustedWifiSsids.empty()) {
    rules.push_back({Action::kDisconnect, trustedWifiSsids});
  }
  rules.push_back({Action::kConnect, {}});
  return rules;
}

ValueList toValueList(const std::vector<std::string>& strings) {
  return ValueList(strings.begin(), strings.end());
}

std::vector<std::string> MovaroPlatformPlugin::storedTrustedWifiSsids() const {
  return sanitizedWifiSsids(
      services_.defaults.objectForKey(kTrustedWifiSsidsKey));
}

}  // namespace movaro
