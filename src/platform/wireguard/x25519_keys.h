// WireGuard key pairs: Curve25519 (X25519) keys from the system's random
// source, and the standard base64 text that WireGuard configurations use.
#ifndef MOVARO_PLATFORM_WIREGUARD_X25519_KEYS_H_
#define MOVARO_PLATFORM_WIREGUARD_X25519_KEYS_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/wireguard.h"

namespace movaro::platform {

// 32 bytes from the system's cryptographically secure random source,
// clamped the way WireGuard's own tools clamp a fresh key: the low three
// bits of the first byte cleared, the top bit of the last byte cleared and
// the bit below it set. Nothing when the random source fails: a predictable
// key is never handed out.
std::optional<Key> generatePrivateKey();

// The X25519 public key of a private key (the scalar product with the base
// point 9). Any 32 bytes are a valid private key; clamping is part of the
// function, so clamped and unclamped forms give the same public key.
// Nothing when OpenSSL cannot compute it (out of memory).
std::optional<Key> publicKeyFor(const Key& privateKey);

// Standard base64 (RFC 4648 section 4) with padding; a 32-byte key gives
// 44 characters.
std::string base64Encode(std::span<const uint8_t> bytes);
// The bytes of standard base64 text with its padding; absent when the text
// is not base64. Non-canonical text (unused bits set) decodes too: compare
// with base64Encode of the result to insist on the canonical form.
std::optional<std::vector<uint8_t>> base64Decode(std::string_view text);

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_WIREGUARD_X25519_KEYS_H_
