#include "platform/wireguard/x25519_keys.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <string_view>
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

std::vector<uint8_t> bytesOf(std::string_view text) {
  return std::vector<uint8_t>(text.begin(), text.end());
}

// RFC 7748 section 6.1.
struct KeyVector {
  const char* name;
  const char* privateHex;
  const char* publicHex;
};
constexpr KeyVector kRfc7748Vectors[] = {
    {"Alice",
     "77076d0a7318a57d3c16c17251b26645df4c2f87ebc0992ab177fba51db92c2a",
     "8520f0098930a754748b7ddcb43ef75a0dbf3a0d26381af4eba4a98eaa9b4e6a"},
    {"Bob", "5dab087e624a8a4b79e17f8b83800ee66f3bb1292618b6fd1c2f8b27ff88e0eb",
     "de9edb7d7b7dc1b4d35b61c2ece435373f8343c85b78674dadfc7e146f882b4f"},
};

TEST(X25519KeysTest, PublicKeysMatchRfc7748Vectors) {
  for (const KeyVector& vector : kRfc7748Vectors) {
    SCOPED_TRACE(vector.name);
    EXPECT_EQ(publicKeyFor(keyFromHex(vector.privateHex)),
              keyFromHex(vector.publicHex));
  }
}

TEST(X25519KeysTest, ClampingDoesNotChangeThePublicKey) {
  // Alice's key is not clamped; its clamped form is the same scalar.
  Key alice = keyFromHex(kRfc7748Vectors[0].privateHex);
  Key clamped = alice;
  clamped[0] &= 248;
  clamped[31] &= 127;
  clamped[31] |= 64;
  ASSERT_NE(clamped, alice);
  EXPECT_EQ(publicKeyFor(clamped), publicKeyFor(alice));
}

TEST(X25519KeysTest, Base64MatchesRfc4648Vectors) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"f", "Zg=="},
      {"fo", "Zm8="},
      {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="},
      {"foobar", "Zm9vYmFy"},
  };
  for (const auto& [input, expected] : cases) {
    EXPECT_EQ(base64Encode(bytesOf(input)), expected) << input;
  }
}

TEST(X25519KeysTest, Base64UsesTheStandardAlphabet) {
  // 0xfb 0xff 0xbf encodes to the two characters outside A-Z a-z 0-9.
  EXPECT_EQ(base64Encode(std::vector<uint8_t>{0xfb, 0xff, 0xbf}), "+/+/");
}

TEST(X25519KeysTest, Base64OfLongInputSpansChunks) {
  // Longer than one internal encoding chunk, and not a multiple of three.
  std::vector<uint8_t> bytes(5000);
  for (size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<uint8_t>(i * 7 + 3);
  }
  std::string text = base64Encode(bytes);
  ASSERT_EQ(text.size(), (bytes.size() + 2) / 3 * 4);
  EXPECT_EQ(text.find('='), text.size() - 1);  // 5000 % 3 == 2: one pad.
  // Every chunk boundary must fall on a whole group: re-encoding any
  // 3-aligned slice gives the matching slice of the text.
  const size_t start = 3 * 300;
  std::vector<uint8_t> slice(bytes.begin() + start, bytes.begin() + start + 30);
  EXPECT_EQ(base64Encode(slice), text.substr(start / 3 * 4, 40));
}

TEST(X25519KeysTest, KeyTextIs44Characters) {
  Key alice = keyFromHex(kRfc7748Vectors[0].privateHex);
  EXPECT_EQ(base64Encode(alice),
            "dwdtCnMYpX08FsFyUbJmRd9ML4frwJkqsXf7pR25LCo=");
  EXPECT_EQ(base64Encode(publicKeyFor(alice).value()),
            "hSDwCYkwp1R0i33ctD73Wg2/Og0mOBr066SpjqqbTmo=");
}

TEST(X25519KeysTest, GeneratedKeysAreClamped) {
  for (int i = 0; i < 64; ++i) {
    Key key = generatePrivateKey().value();
    EXPECT_EQ(key[0] & 7, 0);
    EXPECT_EQ(key[31] & 0x80, 0);
    EXPECT_EQ(key[31] & 0x40, 0x40);
  }
}

TEST(X25519KeysTest, GeneratedKeysDiffer) {
  Key first = generatePrivateKey().value();
  Key second = generatePrivateKey().value();
  EXPECT_NE(first, second);
  EXPECT_NE(publicKeyFor(first), publicKeyFor(second));
  EXPECT_NE(first, Key{});
}

// What `wg pubkey` prints for a base64 private key; empty when it failed.
// Base64 text holds no character that is special inside single quotes.
std::string wgPubkey(const std::string& privateKeyText) {
  const std::string command =
      "echo '" + privateKeyText + "' | /usr/bin/wg pubkey 2>/dev/null";
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) {
    return "";
  }
  std::string output;
  char buffer[256];
  size_t n;
  while ((n = fread(buffer, 1, sizeof(buffer), pipe)) > 0) {
    output.append(buffer, n);
  }
  return pclose(pipe) == 0 ? output : "";
}

TEST(X25519KeysTest, WireGuardToolsDeriveTheSamePublicKey) {
  if (access("/usr/bin/wg", X_OK) != 0) {
    GTEST_SKIP() << "wireguard-tools (/usr/bin/wg) is not installed";
  }
  for (int i = 0; i < 4; ++i) {
    Key privateKey = generatePrivateKey().value();
    EXPECT_EQ(wgPubkey(base64Encode(privateKey)),
              base64Encode(publicKeyFor(privateKey).value()) + "\n");
  }
  // And an unclamped key, which the tool clamps as we do.
  Key alice = keyFromHex(kRfc7748Vectors[0].privateHex);
  EXPECT_EQ(wgPubkey(base64Encode(alice)),
            base64Encode(publicKeyFor(alice).value()) + "\n");
}

}  // namespace
}  // namespace movaro::platform
