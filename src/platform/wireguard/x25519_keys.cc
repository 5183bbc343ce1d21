#include "platform/wireguard/x25519_keys.h"

// OpenSSL-Universal ships OpenSSL.framework, whose headers are spelt
// <OpenSSL/...>; the lower-case spelling finds them only on a
// case-insensitive volume. Debian's package has <openssl/...>.
#if __has_include(<OpenSSL/evp.h>)
#include <OpenSSL/evp.h>
#include <OpenSSL/rand.h>
#else
#include <openssl/evp.h>
#include <openssl/rand.h>
#endif

#include <algorithm>
#include <limits>
#include <memory>

namespace movaro::platform {
namespace {

struct PkeyDeleter {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
using PkeyPtr = std::unique_ptr<EVP_PKEY, PkeyDeleter>;

// Input bytes per EVP_EncodeBlock call: a multiple of 3, so that only the
// last chunk can carry padding, and small enough for its int length.
constexpr size_t kBase64ChunkBytes = 3 * 256;

}  // namespace

std::optional<Key> generatePrivateKey() {
  Key key{};
  if (RAND_bytes(key.data(), static_cast<int>(key.size())) != 1) {
    return std::nullopt;
  }
  key[0] &= 248;
  key[31] &= 127;
  key[31] |= 64;
  return key;
}

std::optional<Key> publicKeyFor(const Key& privateKey) {
  PkeyPtr pkey(EVP_PKEY_new_raw_private_key(
      EVP_PKEY_X25519, nullptr, privateKey.data(), privateKey.size()));
  Key publicKey{};
  size_t length = publicKey.size();
  // Any 32 bytes make a valid X25519 key, so these fail only when memory
  // runs out; half a key must never be returned as a whole one.
  if (!pkey ||
      EVP_PKEY_get_raw_public_key(pkey.get(), publicKey.data(), &length) != 1 ||
      length != publicKey.size()) {
    return std::nullopt;
  }
  return publicKey;
}

std::string base64Encode(std::span<const uint8_t> bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  unsigned char block[kBase64ChunkBytes / 3 * 4 + 1];
  while (!bytes.empty()) {
    const size_t take = std::min(bytes.size(), kBase64ChunkBytes);
    const int written =
        EVP_EncodeBlock(block, bytes.data(), static_cast<int>(take));
    text.append(reinterpret_cast<const char*>(block),
                static_cast<size_t>(written));
    bytes = bytes.subspan(take);
  }
  return text;
}

std::optional<std::vector<uint8_t>> base64Decode(std::string_view text) {
  if (text.size() % 4 != 0 ||
      text.size() > static_cast<size_t>(std::numeric_limits<int>::max())) {
    return std::nullopt;
  }
  std::vector<uint8_t> bytes(text.size() / 4 * 3);
  const int decoded = EVP_DecodeBlock(
      bytes.data(), reinterpret_cast<const unsigned char*>(text.data()),
      static_cast<int>(text.size()));
  if (decoded < 0) {
    return std::nullopt;
  }
  // The decoder counts the padding as zero bytes.
  size_t padding = 0;
  while (padding < 2 && padding < text.size() &&
         text[text.size() - 1 - padding] == '=') {
    ++padding;
  }
  bytes.resize(static_cast<size_t>(decoded) - padding);
  return bytes;
}

}  // namespace movaro::platform
