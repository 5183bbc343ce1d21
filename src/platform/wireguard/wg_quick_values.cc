#include "platform/wireguard/wg_quick_values.h"

#include <arpa/inet.h>
#include <netdb.h>

#include <algorithm>
#include <array>

#include "platform/text/unicode_text.h"
#include "platform/wireguard/x25519_keys.h"

namespace movaro::platform {
namespace {

constexpr size_t kBase64KeyLength = 44;
constexpr std::string_view kUrlHostCharacters =
    "!$&'()*+,-.0123456789:;=ABCDEFGHIJKLMNOPQRSTUVWXYZ[]_"
    "abcdefghijklmnopqrstuvwxyz~";

std::string_view upToNul(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

// The 6-bit value of a standard base64 character, or -1.
std::optional<unsigned> parseSwiftUnsigned(std::string_view text,
                                           unsigned max) {
  bool negative = false;
  if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
    negative = text[0] == '-';
    text.remove_prefix(1);
  }
  if (text.empty()) {
    return std::nullopt;
  }
  unsigned value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') {
      return std::nullopt;
    }
    value = value * 10 + static_cast<unsigned>(c - '0');
    if (value > max) {
      return std::nullopt;
    }
  }
  if (negative && value != 0) {
    return std::nullopt;
  }
  return value;
}

bool isCSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// strtol in base 10 consuming the whole text; nullopt when it would stop
// early or read no digits. Saturates far above any port.
std::optional<long> wholeDecimal(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && isCSpace(text[i])) {
    ++i;
  }
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
    negative = text[i] == '-';
    ++i;
  }
  const size_t firstDigit = i;
  long value = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    value = std::min(value * 10 + (text[i] - '0'), 1L << 40);
  }
  if (i == firstDigit || i != text.size()) {
    return std::nullopt;
  }
  return negative ? -value : value;
}

std::optional<uint16_t> lookUpTcpService(std::string_view name) {
  // A services database name is printable ASCII without spaces.
  if (name.empty() || name.size() > 256) {
    return std::nullopt;
  }
  for (char c : name) {
    if (c <= ' ' || c >= 0x7F) {
      return std::nullopt;
    }
  }
  const std::string cName(name);
#if defined(__GLIBC__)
  servent entry{};
  servent* found = nullptr;
  std::array<char, 4096> buffer{};
  if (getservbyname_r(cName.c_str(), "tcp", &entry, buffer.data(),
                      buffer.size(), &found) != 0 ||
      found == nullptr) {
    return std::nullopt;
  }
#else
  // Thread-safe on Apple platforms, which keep the result per thread.
  const servent* found = getservbyname(cName.c_str(), "tcp");
  if (found == nullptr) {
    return std::nullopt;
  }
#endif
  return ntohs(static_cast<uint16_t>(found->s_port));
}

}  // namespace

std::optional<Key> keyFromBase64(std::string_view text) {
  text = upToNul(text);
  if (text.size() != kBase64KeyLength) {
    return std::nullopt;
  }
  // Only the canonical text of 32 bytes: 43 characters and one '=', the
  // last character's two unused bits zero.
  const auto bytes = base64Decode(text);
  if (!bytes || bytes->size() != Key().size() || base64Encode(*bytes) != text) {
    return std::nullopt;
  }
  Key key{};
  std::copy(bytes->begin(), bytes->end(), key.begin());
  return key;
}

std::optional<uint16_t> parseUInt16(std::string_view text) {
  if (auto value = parseSwiftUnsigned(text, 0xFFFF)) {
    return static_cast<uint16_t>(*value);
  }
  return std::nullopt;
}

std::optional<uint8_t> parseUInt8(std::string_view text) {
  if (auto value = parseSwiftUnsigned(text, 0xFF)) {
    return static_cast<uint8_t>(*value);
  }
  return std::nullopt;
}

std::optional<uint16_t> parsePort(std::string_view text) {
  text = upToNul(text);
  if (text.empty()) {
    return std::nullopt;
  }
  if (const auto number = wholeDecimal(text)) {
    if (*number < 0 || *number > 0xFFFF) {
      return std::nullopt;
    }
    return static_cast<uint16_t>(*number);
  }
  return lookUpTcpService(text);
}

std::optional<WgQuickEndpoint> parseEndpoint(std::string_view text) {
  if (text.empty()) {
    return std::nullopt;
  }
  std::string_view host;
  std::string_view port;
  if (text[0] == '[' && isStandaloneCharacter(text, 0)) {
    const size_t close = findCharacter(text, ']', 1);
    if (close == std::string_view::npos || close + 1 == text.size() ||
        text[close + 1] != ':' || !isStandaloneCharacter(text, close + 1)) {
      return std::nullopt;
    }
    host = text.substr(1, close - 1);
    port = text.substr(close + 2);
  } else {
    const size_t colon = findCharacter(text, ':');
    if (colon == std::string_view::npos) {
      return std::nullopt;
    }
    host = text.substr(0, colon);
    port = text.substr(colon + 1);
  }
  if (host.find_first_not_of(kUrlHostCharacters) != std::string_view::npos) {
    return std::nullopt;
  }
  const auto portNumber = parsePort(port);
  if (!portNumber) {
    return std::nullopt;
  }
  return WgQuickEndpoint{std::string(host), *portNumber};
}

}  // namespace movaro::platform
