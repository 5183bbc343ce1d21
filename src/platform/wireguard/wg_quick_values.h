// The scalar values of a wg-quick text: keys, small integers, endpoints.
#ifndef MOVARO_PLATFORM_WIREGUARD_WG_QUICK_VALUES_H_
#define MOVARO_PLATFORM_WIREGUARD_WG_QUICK_VALUES_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/wireguard.h"

namespace movaro::platform {

struct WgQuickEndpoint {
  // As written, without brackets; may be empty.
  std::string host;
  uint16_t port = 0;

  bool operator==(const WgQuickEndpoint&) const = default;
};

// A 32-byte key in canonical padded base64: exactly 44 characters of the
// standard alphabet, '=' last, unused low bits zero. The text counts up to
// its first NUL, as the C decoder sees it.
std::optional<Key> keyFromBase64(std::string_view text);

// Swift's UInt16(String) and UInt8(String): an optional '+' or '-', then
// ASCII digits, nothing else; "-0" is 0.
std::optional<uint16_t> parseUInt16(std::string_view text);
std::optional<uint8_t> parseUInt8(std::string_view text);

// A port as the system resolver reads it: a decimal number 0 to 65535 after
// optional leading C white space and sign, or else a TCP service name from
// the services database ("https" is 443). Read up to the first NUL.
std::optional<uint16_t> parsePort(std::string_view text);

// "host:port" split at the first ':', or "[host]:port". The host may be
// empty and is not resolved, but must use only the characters allowed in a
// URL host (ASCII letters, digits and !$&'()*+,-.:;=[]_~).
std::optional<WgQuickEndpoint> parseEndpoint(std::string_view text);

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_WIREGUARD_WG_QUICK_VALUES_H_
