#include "platform/network_extension.h"

namespace movaro::platform {

std::shared_ptr<TunnelProfile> findTunnelProfile(
    const std::optional<TunnelProfiles>& profiles,
    const std::string& providerBundleIdentifier) {
  for (const auto& profile : profiles.value_or(TunnelProfiles())) {
    auto protocol = profile->protocolConfiguration();
    if (protocol && protocol->isTunnelProvider &&
        protocol->providerBundleIdentifier == providerBundleIdentifier) {
      return profile;
    }
  }
  return nullptr;
}

}  // namespace movaro::platform
