#include "platform/wireguard/wg_quick_address.h"

#include <algorithm>

#include "platform/text/unicode_text.h"
#include "platform/wireguard/wg_quick_values.h"

namespace movaro::platform {
namespace {

// The part of the text a C routine sees.
std::string_view upToNul(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

bool isDecimalDigit(char c) {
  return c >= '0' && c <= '9';
}

// The value of `c` as a digit in `base` (8, 10 or 16), or -1.
int digitValue(char c, unsigned base) {
  if (c >= '0' && c <= '9') {
    const int value = c - '0';
    return value < static_cast<int>(base) ? value : -1;
  }
  if (base != 16) {
    return -1;
  }
  if (c >= 'a' && c <= 'f') {
    return c - 'a' + 10;
  }
  if (c >= 'A' && c <= 'F') {
    return c - 'A' + 10;
  }
  return -1;
}

// Exactly four dot-separated parts of decimal digits, each at most 255.
std::optional<std::array<uint8_t, 4>> parseDottedQuad(std::string_view text) {
  std::array<uint8_t, 4> bytes{};
  size_t part = 0;
  unsigned value = 0;
  bool sawDigit = false;
  for (char c : text) {
    if (isDecimalDigit(c)) {
      value = value * 10 + static_cast<unsigned>(c - '0');
      if (value > 255) {
        return std::nullopt;
      }
      sawDigit = true;
    } else if (c == '.' && sawDigit && part < 3) {
      bytes[part++] = static_cast<uint8_t>(value);
      value = 0;
      sawDigit = false;
    } else {
      return std::nullopt;
    }
  }
  if (!sawDigit || part != 3) {
    return std::nullopt;
  }
  bytes[3] = static_cast<uint8_t>(value);
  return bytes;
}

// The classic form: 1 to 4 parts, each decimal, 0x-hex or 0-octal; the last
// part fills all the bytes the others leave. Arithmetic wraps at 64 bits, as
// the C code's unsigned long does, and nothing may follow the last part (so
// an 8 or 9 in an octal part is an error).
std::optional<std::array<uint8_t, 4>> parseClassicIpv4(std::string_view text) {
  std::array<uint64_t, 4> parts{};
  size_t count = 0;
  size_t i = 0;
  while (true) {
    if (i >= text.size() || !isDecimalDigit(text[i])) {
      return std::nullopt;
    }
    unsigned base = 10;
    bool sawDigit = false;
    if (text[i] == '0') {
      ++i;
      if (i < text.size() && (text[i] == 'x' || text[i] == 'X')) {
        base = 16;
        ++i;
      } else {
        base = 8;
        sawDigit = true;
      }
    }
    uint64_t value = 0;
    for (; i < text.size(); ++i) {
      const int digit = digitValue(text[i], base);
      if (digit < 0) {
        break;
      }
      value = value * base + static_cast<uint64_t>(digit);
      sawDigit = true;
    }
    if (!sawDigit) {
      return std::nullopt;
    }
    parts[count++] = value;
    if (i < text.size() && text[i] == '.' && count < 4) {
      ++i;
      continue;
    }
    break;
  }
  if (i != text.size()) {
    return std::nullopt;
  }
  for (size_t k = 0; k + 1 < count; ++k) {
    if (parts[k] > 0xFF) {
      return std::nullopt;
    }
  }
  // The last part holds the bytes the leading parts leave free.
  const uint64_t last = parts[count - 1];
  if (count > 1 && last >> (8 * (5 - count)) != 0) {
    return std::nullopt;
  }
  uint32_t address = static_cast<uint32_t>(last);
  for (size_t k = 0; k + 1 < count; ++k) {
    address |= static_cast<uint32_t>(parts[k]) << (24 - 8 * k);
  }
  return std::array<uint8_t, 4>{
      static_cast<uint8_t>(address >> 24), static_cast<uint8_t>(address >> 16),
      static_cast<uint8_t>(address >> 8), static_cast<uint8_t>(address)};
}

}  // namespace

std::optional<std::array<uint8_t, 4>> parseIpv4Address(std::string_view text) {
  text = upToNul(text);
  if (auto quad = parseDottedQuad(text)) {
    return quad;
  }
  return parseClassicIpv4(text);
}

// Widens the groups written so far to all sixteen bytes: "::" (at `gap`)
// stands for at least one zero group; without it every group must be there.
bool expandGap(std::array<uint8_t, 16>& bytes,
               size_t length,
               std::optional<size_t> gap) {
  if (!gap) {
    return length == bytes.size();
  }
  if (length == bytes.size()) {
    return false;
  }
  const size_t tail = length - *gap;
  std::copy_backward(bytes.begin() + *gap, bytes.begin() + length, bytes.end());
  std::fill(bytes.begin() + *gap, bytes.end() - tail, 0);
  return true;
}

std::optional<std::array<uint8_t, 16>> parseIpv6Address(std::string_view text) {
  text = upToNul(text);
  if (size_t percent = text.rfind('%'); percent != std::string_view::npos) {
    text = text.substr(0, percent);
  }
  std::array<uint8_t, 16> bytes{};
  size_t length = 0;
  std::optional<size_t> gap;  // where "::" stands
  size_t i = 0;
  if (!text.empty() && text[0] == ':') {
    if (text.size() < 2 || text[1] != ':') {
      return std::nullopt;
    }
    i = 1;
  }
  size_t groupStart = i;
  unsigned value = 0;
  bool sawDigit = false;
  while (i < text.size()) {
    const char c = text[i++];
    if (const int digit = digitValue(c, 16); digit >= 0) {
      value = (value << 4) | static_cast<unsigned>(digit);
      if (value > 0xFFFF) {
        return std::nullopt;
      }
      sawDigit = true;
      continue;
    }
    if (c == ':') {
      groupStart = i;
      if (!sawDigit) {
        if (gap) {
          return std::nullopt;
        }
        gap = length;
        continue;
      }
      if (i == text.size() || length + 2 > bytes.size()) {
        return std::nullopt;
      }
      bytes[length++] = static_cast<uint8_t>(value >> 8);
      bytes[length++] = static_cast<uint8_t>(value);
      value = 0;
      sawDigit = false;
      continue;
    }
    // A dotted IPv4 tail takes the rest of the text.
    if (c == '.' && length + 4 <= bytes.size()) {
      const auto quad = parseDottedQuad(text.substr(groupStart));
      if (!quad) {
        return std::nullopt;
      }
      std::copy(quad->begin(), quad->end(), bytes.begin() + length);
      length += 4;
      sawDigit = false;
      break;
    }
    return std::nullopt;
  }
  if (sawDigit) {
    if (length + 2 > bytes.size()) {
      return std::nullopt;
    }
    bytes[length++] = static_cast<uint8_t>(value >> 8);
    bytes[length++] = static_cast<uint8_t>(value);
  }
  if (!expandGap(bytes, length, gap)) {
    return std::nullopt;
  }
  return bytes;
}

std::optional<IpAddress> parseIpAddress(std::string_view text) {
  IpAddress address;
  if (auto v4 = parseIpv4Address(text)) {
    address.family = IpAddress::Family::kV4;
    std::copy(v4->begin(), v4->end(), address.bytes.begin());
    return address;
  }
  if (auto v6 = parseIpv6Address(text)) {
    address.family = IpAddress::Family::kV6;
    address.bytes = *v6;
    return address;
  }
  return std::nullopt;
}

std::optional<IpAddressRange> parseIpAddressRange(std::string_view text) {
  const size_t slash = findLastCharacter(text, '/');
  const auto address = parseIpAddress(text.substr(0, slash));
  if (!address) {
    return std::nullopt;
  }
  const uint8_t width = address->family == IpAddress::Family::kV4 ? 32 : 128;
  IpAddressRange range{*address, width};
  if (slash != std::string_view::npos) {
    const auto prefix = parseUInt8(text.substr(slash + 1));
    if (!prefix) {
      return std::nullopt;
    }
    range.prefixLength = std::min(*prefix, width);
  }
  return range;
}

}  // namespace movaro::platform
