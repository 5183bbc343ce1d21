// WireGuard keys: a fresh private key from the system's random source and
// the public key derived from it. The configuration parser is wg_quick.h.
#ifndef MOVARO_PLATFORM_WIREGUARD_H_
#define MOVARO_PLATFORM_WIREGUARD_H_

#include <array>
#include <cstdint>
#include <optional>

namespace movaro::platform {

using Key = std::array<uint8_t, 32>;

class WireGuardKeys {
 public:
  virtual ~WireGuardKeys() = default;
  // A random Curve25519 private key, clamped; nothing when the random
  // source fails.
  virtual std::optional<Key> generatePrivateKey() = 0;
  // Nothing when it cannot be computed.
  virtual std::optional<Key> publicKey(const Key& privateKey) = 0;
};

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_WIREGUARD_H_
