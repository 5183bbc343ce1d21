#include "platform/wireguard/x25519_keys.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace movaro::platform {
namespace {

Key keyFromHex(std::string_view hex) {
  Key key{};
  for (size_t i = 0; i < key.size(); ++i) {
    key[i] = static_cast<uint8_t>(
        std::stoul(std::string(hex.substr(2 * i, 2)), nullptr, 16));
  }
  return key;
}

// RFC 7748 section 6.1: Alice's key pair, then Bob's.
const std::pair<const char*, const char*> kRfc7748Pairs[] = {
    {"77076d0a7318a57d3c16c17251b26645df4c2f87ebc0992ab177fba51db92c2a",
     "8520f0098930a754748b7ddcb43ef75a0dbf3a0d26381af4eba4a98eaa9b4e6a"},
    {"5dab087e624a8a4b79e17f8b83800ee66f3bb1292618b6fd1c2f8b27ff88e0eb",
     "de9edb7d7b7dc1b4d35b61c2ece435373f8343c85b78674dadfc7e146f882b4f"},
};
const Key kAlice = keyFromHex(kRfc7748Pairs[0].first);

TEST(X25519KeysTest, PublicKeysMatchRfc7748Vectors) {
  for (const auto& [privateHex, publicHex] : kRfc7748Pairs) {
    EXPECT_EQ(publicKeyFor(keyFromHex(privateHex)), keyFromHex(publicHex));
  }
  // Alice's key is not clamped; its clamped form is the same scalar.
  Key clamped = kAlice;
  clamped[0] &= 248;
  clamped[31] = (clamped[31] & 127) | 64;
  ASSERT_NE(clamped, kAlice);
  EXPECT_EQ(publicKeyFor(clamped), publicKeyFor(kAlice));
}

TEST(X25519KeysTest, Base64IsTheStandardPaddedForm) {
  // RFC 4648 section 10: the prefixes of "foobar".
  const std::string_view kFoobar[] = {"",         "Zg==",     "Zm8=",    "Zm9v",
                                      "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
  const std::string foobar = "foobar";
  for (size_t n = 0; n <= foobar.size(); ++n) {
    EXPECT_EQ(
        base64Encode(std::vector<uint8_t>(foobar.begin(), foobar.begin() + n)),
        kFoobar[n]);
  }
  // The two characters outside A-Z a-z 0-9.
  EXPECT_EQ(base64Encode(std::vector<uint8_t>{0xfb, 0xff, 0xbf}), "+/+/");
  EXPECT_EQ(base64Encode(kAlice),
            "dwdtCnMYpX08FsFyUbJmRd9ML4frwJkqsXf7pR25LCo=");
  EXPECT_EQ(base64Encode(keyFromHex(kRfc7748Pairs[0].second)),
            "hSDwCYkwp1R0i33ctD73Wg2/Og0mOBr066SpjqqbTmo=");
  // Longer than one internal encoding chunk, 5000 % 3 == 2: one pad; any
  // 3-aligned slice encodes to the matching slice of the text.
  std::vector<uint8_t> bytes(5000);
  for (size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<uint8_t>(i * 7 + 3);
  }
  const std::string text = base64Encode(bytes);
  ASSERT_EQ(text.size(), 6668u);
  EXPECT_EQ(text.find('='), 6667u);
  EXPECT_EQ(base64Encode(std::span(bytes).subspan(900, 30)),
            text.substr(1200, 40));
}

TEST(X25519KeysTest, GeneratedKeysAreClampedAndDiffer) {
  std::set<Key> keys;
  for (int i = 0; i < 64; ++i) {
    Key key = generatePrivateKey().value();
    EXPECT_EQ(key[0] & 7, 0);
    EXPECT_EQ(key[31] & 0xC0, 0x40);
    keys.insert(key);
  }
  EXPECT_EQ(keys.size(), 64u);
}

// What `wg pubkey` prints for a base64 private key; empty when it failed.
// Base64 text holds no character that is special inside single quotes.
std::string wgPubkey(const Key& privateKey) {
  const std::string command = "echo '" + base64Encode(privateKey) +
                              "' | /usr/bin/wg pubkey 2>/dev/null";
  FILE* pipe = popen(command.c_str(), "r");
  char line[64] = "";
  const bool read = pipe && fgets(line, sizeof line, pipe);
  return pipe && pclose(pipe) == 0 && read ? line : "";
}

TEST(X25519KeysTest, WireGuardToolsDeriveTheSamePublicKey) {
  if (access("/usr/bin/wg", X_OK) != 0) {
    GTEST_SKIP() << "wireguard-tools (/usr/bin/wg) is not installed";
  }
  // Fresh keys, and an unclamped one, which the tool clamps as we do.
  for (const Key& key :
       {generatePrivateKey().value(), generatePrivateKey().value(), kAlice}) {
    EXPECT_EQ(wgPubkey(key), base64Encode(publicKeyFor(key).value()) + "\n");
  }
}

}  // namespace
}  // namespace movaro::platform
