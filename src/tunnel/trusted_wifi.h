// The trusted Wi-Fi list in clean form, and the on-demand rules built from
// it: disconnect on the trusted networks, connect everywhere else.
#ifndef MOVARO_TUNNEL_TRUSTED_WIFI_H_
#define MOVARO_TUNNEL_TRUSTED_WIFI_H_

#include <optional>
#include <string>
#include <vector>

#include "bridge/value.h"
#include "platform/network_extension.h"

namespace movaro {

inline constexpr const char* kTrustedWifiSsidsKey = "HalvornTrustedWifiSsids";
inline constexpr size_t kMaxSsidCharacters = 32;

// Only a list counts, and of it only the strings: each trimmed of white
// space and newlines, kept when 1 to 32 user-perceived characters long,
// de-duplicated by canonical equivalence (the first spelling stays) and
// sorted by the Unicode scalars of the composed forms.
std::vector<std::string> sanitizedWifiSsids(const std::optional<Value>& value);

std::vector<platform::OnDemandRule> onDemandRules(
    const std::vector<std::string>& trustedWifiSsids);

ValueList toValueList(const std::vector<std::string>& strings);

}  // namespace movaro

#endif  // MOVARO_TUNNEL_TRUSTED_WIFI_H_
