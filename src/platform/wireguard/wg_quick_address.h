// IP address literals and address ranges as the macOS system libraries read
// them for WireGuard's Address, AllowedIPs and DNS values. These rules are
// looser than glibc's in places (leading zeros, the classic a.b shorthand,
// IPv6 groups of more than four digits, any %zone on IPv6), so they are
// implemented here rather than taken from the C library.
#ifndef MOVARO_PLATFORM_WIREGUARD_WG_QUICK_ADDRESS_H_
#define MOVARO_PLATFORM_WIREGUARD_WG_QUICK_ADDRESS_H_

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace movaro::platform {

struct IpAddress {
  enum class Family { kV4, kV6 };
  Family family = Family::kV4;
  // Network order; an IPv4 address fills the first four bytes.
  std::array<uint8_t, 16> bytes{};

  bool operator==(const IpAddress&) const = default;
};

struct IpAddressRange {
  IpAddress address;
  uint8_t prefixLength = 0;

  bool operator==(const IpAddressRange&) const = default;
};

// An IPv4 literal: four decimal parts (leading zeros read as decimal), or
// else the classic 1 to 4 part form with C-style hex and octal parts
// ("10.1", "0x0a.0.0.1", "2130706433"). Like the C routines it stands in
// for, it reads the text only up to its first NUL.
std::optional<std::array<uint8_t, 4>> parseIpv4Address(std::string_view text);

// An IPv6 literal: hex groups with at most one "::", an optional dotted IPv4
// tail, no brackets. Everything from the last '%' on is dropped first.
std::optional<std::array<uint8_t, 16>> parseIpv6Address(std::string_view text);

// IPv4 tried first, then IPv6.
std::optional<IpAddress> parseIpAddress(std::string_view text);

// "address[/prefix]": split at the last '/'; the prefix is 0 to 255 and is
// clamped to the family's width; without one it is the full width. Host bits
// are kept as written.
std::optional<IpAddressRange> parseIpAddressRange(std::string_view text);

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_WIREGUARD_WG_QUICK_ADDRESS_H_
