// WireGuard keys through the shared X25519 code (platform/x25519_keys.cc),
// which the macOS build links against the OpenSSL pod: the private key comes
// from RAND_bytes, whose generator OpenSSL seeds from the system's CSPRNG,
// clamped as `wg genkey` does; the public key is the X25519 base-point
// product, as `wg pubkey` computes it.
#include "platform/wireguard.h"

#include "platform/apple/adapters_apple.h"
#include "platform/wireguard/x25519_keys.h"

namespace movaro::platform::apple {
namespace {

class AppleWireGuardKeys : public WireGuardKeys {
 public:
  std::optional<Key> generatePrivateKey() override {
    return platform::generatePrivateKey();
  }
  std::optional<Key> publicKey(const Key& privateKey) override {
    return platform::publicKeyFor(privateKey);
  }
};

}  // namespace

std::unique_ptr<WireGuardKeys> makeWireGuardKeys() {
  return std::make_unique<AppleWireGuardKeys>();
}

}  // namespace movaro::platform::apple
