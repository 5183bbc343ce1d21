// WireGuard configuration text in the wg-quick format, read with the verdicts
// of the macOS WireGuard library: which texts it accepts, and for the others
// which failure it reports first.
#ifndef MOVARO_PLATFORM_WIREGUARD_WG_QUICK_H_
#define MOVARO_PLATFORM_WIREGUARD_WG_QUICK_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/wireguard.h"
#include "platform/wireguard/wg_quick_address.h"
#include "platform/wireguard/wg_quick_values.h"

namespace movaro::platform {

// One enumerator per failure the library can report, in its order.
enum class WgQuickFailure {
  kInvalidLine,
  kNoInterface,
  kMultipleInterfaces,
  kInterfaceHasNoPrivateKey,
  kInterfaceHasInvalidPrivateKey,
  kInterfaceHasInvalidListenPort,
  kInterfaceHasInvalidAddress,
  kInterfaceHasInvalidDns,  // kept for completeness; text never raises it
  kInterfaceHasInvalidMtu,
  kInterfaceHasUnrecognizedKey,
  kPeerHasNoPublicKey,
  kPeerHasInvalidPublicKey,
  kPeerHasInvalidPreSharedKey,
  kPeerHasInvalidAllowedIp,
  kPeerHasInvalidEndpoint,
  kPeerHasInvalidPersistentKeepAlive,
  kPeerHasUnrecognizedKey,
  kPeerHasInvalidTransferBytes,      // runtime state only, never from text
  kPeerHasInvalidLastHandshakeTime,  // runtime state only, never from text
  kMultiplePeersWithSamePublicKey,
  kMultipleEntriesForKey,
};

struct WgQuickError {
  WgQuickFailure failure;
  // One sentence for the user naming the section, key or text at fault.
  // Private and preshared keys are never quoted.
  std::string message;
  // What the failure is about, exactly as found: the raw line for
  // kInvalidLine, the key as written for unrecognized and repeated keys, the
  // value or list element for invalid values (secrets included), the public
  // key for kMultiplePeersWithSamePublicKey; empty for the other cases.
  std::string subject;
};

struct WgQuickInterface {
  Key privateKey{};
  std::optional<uint16_t> listenPort;
  std::vector<IpAddressRange> addresses;
  std::vector<IpAddress> dnsServers;
  // DNS entries that are not IP addresses, as written (may be empty).
  std::vector<std::string> dnsSearchDomains;
  std::optional<uint16_t> mtu;
};

struct WgQuickPeer {
  Key publicKey{};
  std::optional<Key> presharedKey;
  std::vector<IpAddressRange> allowedIps;
  std::optional<WgQuickEndpoint> endpoint;
  std::optional<uint16_t> persistentKeepalive;
};

struct WgQuickConfig {
  std::string name;
  WgQuickInterface interfaceSection;
  std::vector<WgQuickPeer> peers;
};

// Parses a wg-quick text the way the platform parser does. Ill-formed UTF-8
// reads as U+FFFD. Work is linear in the size of the text.
std::variant<WgQuickConfig, WgQuickError> parseWgQuickConfig(
    std::string_view text,
    std::string_view name);

// Validates a wg-quick text the way the platform parser does; nullopt when
// accepted.
std::optional<WgQuickError> validateWgQuickConfig(std::string_view text,
                                                  std::string_view name);

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_WIREGUARD_WG_QUICK_H_
