#include "platform/wireguard/wg_quick.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace movaro::platform {
namespace {

using ::testing::ElementsAre;

const std::string kPriv = "AAIDBAUGBwgJCgsMDQ4PEBESExQVFhcYGRobHB0eH2A=";
const std::string kPub1 = "ERERERERERERERERERERERERERERERERERERERERERE=";
const std::string kPsk = "MzMzMzMzMzMzMzMzMzMzMzMzMzMzMzMzMzMzMzMzMzM=";
const std::string kNul(1, '\0');

const std::string kI = "[Interface]\nPrivateKey = " + kPriv + "\n";
const std::string kP = "[Peer]\nPublicKey = " + kPub1 + "\n";
const std::string kBase = kI + "Address = 10.0.0.2/32\nDNS = 1.1.1.1\n\n" + kP +
                          "AllowedIPs = 0.0.0.0/0, ::/0\n"
                          "Endpoint = vpn.example.com:51820\n";
const std::string kIP = kI + kP;

// The text with every `from` replaced by `to`.
std::string replaced(std::string text,
                     std::string_view from,
                     std::string_view to) {
  for (size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// A text with `line` added to its peer (P) or interface (I) section.
std::string inP(const std::string& line) {
  return kIP + line + "\n";
}

std::string inI(const std::string& line) {
  return kI + line + "\n" + kP;
}

WgQuickConfig parsed(const std::string& text) {
  auto result = parseWgQuickConfig(text, "Halvorn VPN");
  const auto* error = std::get_if<WgQuickError>(&result);
  EXPECT_EQ(error, nullptr) << (error ? error->message : "");
  auto* config = std::get_if<WgQuickConfig>(&result);
  return config ? *config : WgQuickConfig{};
}

IpAddressRange range(std::string_view text) {
  return parseIpAddressRange(text).value();
}

// Each text read by `read` gives its value; each rejected one nothing.
template <typename T>
using Rows = std::vector<std::pair<std::string, T>>;

template <typename T, typename Read>
void expectReadings(Read read,
                    const Rows<T>& rows,
                    std::initializer_list<std::string> rejected) {
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(read(text), expected) << ::testing::PrintToString(text);
  }
  for (const std::string& text : rejected) {
    EXPECT_EQ(read(text), std::nullopt) << ::testing::PrintToString(text);
  }
}

// The platform parser's verdicts, one row per rule of our wg-quick notes.
TEST(WgQuickTest, AcceptedTexts) {
  const std::pair<std::string, size_t> kRows[] = {
      {kBase, 1},
      {replaced(kBase, "\n", " \t\r\n"), 1},
      {replaced(replaced(kBase, kPriv, kPriv + " # mine"), "[Interface]",
                "[Interface] # main"),
       1},
      {"[INTERFACE]\nprivatekey = " + kPriv + "\n[peer]\npublickey = " + kPub1 +
           "\nallowedips = ::/0",
       1},
      {"PostUp = foo\n" + kIP, 1},  // ignored before any section
      {kIP + "[Interface]", 1},     // a header on the last line opens nothing
      {kI + "[Peer]\n\n\n", 0},
      {kP + kI + "[Peer]\nPublicKey = " + std::string(43, 'I') + "=\n", 2},
      {kI + "Address =\nDNS =\n" + kP + "AllowedIPs =\n", 1},
      {replaced(kIP, kPriv, kPriv + kNul + "junk"), 1},  // read to a NUL
      // A Kelvin sign lowercases to 'k'; ',' with a mark is not a comma.
      {replaced(kIP, "PrivateKey", "Private\u212Aey"), 1},
      {inI("Address = fe80::1%a,\u0301b"), 1},
  };
  for (const auto& [text, peers] : kRows) {
    EXPECT_EQ(parsed(text).peers.size(), peers)
        << ::testing::PrintToString(text);
  }
}

TEST(WgQuickTest, RejectedTexts) {
  using enum WgQuickFailure;
  const std::string many(1000000, '=');
  const std::tuple<std::string, WgQuickFailure, std::string> kRows[] = {
      {"[ Interface ]\n" + kP, kInvalidLine, "[ Interface ]"},
      {kI + "; comment\n" + kP, kInvalidLine, "; comment"},
      {inI("MTU =\u0301 1"), kInvalidLine, "MTU =\u0301 1"},
      {"\xFF\xFE[Interface]\n" + kP, kInvalidLine, "\uFFFD\uFFFD[Interface]"},
      {kNul, kInvalidLine, kNul},
      {kP, kNoInterface, ""},
      {"[Interface]", kNoInterface, ""},
      {many, kNoInterface, ""},
      {kI + kI + kP, kMultipleInterfaces, ""},
      {kI + "[Interface]\n" + kP, kInterfaceHasNoPrivateKey, ""},
      {"[Interface]\nListenPort = x\n" + kP, kInterfaceHasNoPrivateKey, ""},
      {"[Interface]\nPrivateKey = bad\n[Peer]\nFoo = 1\n",
       kInterfaceHasInvalidPrivateKey, "bad"},
      {replaced(kIP, kPriv, kPriv + " #\u0301"), kInterfaceHasInvalidPrivateKey,
       kPriv + " #\u0301"},
      {inI("Address = 256.0.0.1/32"), kInterfaceHasInvalidAddress,
       "256.0.0.1/32"},
      {inI("MTU = 70000"), kInterfaceHasInvalidMtu, "70000"},
      {inI("PostUp = x"), kInterfaceHasUnrecognizedKey, "PostUp"},
      {"[Interface]\nPrivateKey = bad\nFoo = 1\n" + kP,
       kInterfaceHasUnrecognizedKey, "Foo"},
      {kI + many, kInterfaceHasUnrecognizedKey, ""},
      {kI + "[Peer]\n# end\n", kPeerHasNoPublicKey, ""},
      {kI + "[Peer]\nPublicKey =\n", kPeerHasInvalidPublicKey, ""},
      {inP("AllowedIPs = 0.0.0.0/0 ::/0"), kPeerHasInvalidAllowedIp,
       "0.0.0.0/0 ::/0"},
      {inP("AllowedIPs = 0.0.0.0/0, , ::/0"), kPeerHasInvalidAllowedIp, ""},
      {inP("Endpoint = host#1:51820"), kPeerHasInvalidEndpoint, "host"},
      {inP("Endpoint = " + std::string(1000000, '[')), kPeerHasInvalidEndpoint,
       std::string(1000000, '[')},
      {inP("PersistentKeepalive = off"), kPeerHasInvalidPersistentKeepAlive,
       "off"},
      {inP("Address = 10.0.0.2/32"), kPeerHasUnrecognizedKey, "Address"},
      {"Cafe\u0301 = 1\nCAF\u00C9 = 2\n" + kIP, kMultipleEntriesForKey,
       "CAF\u00C9"},
  };
  for (const auto& [text, failure, subject] : kRows) {
    SCOPED_TRACE(::testing::PrintToString(text.substr(0, 60)));
    const auto error = validateWgQuickConfig(text, "n");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->failure, failure) << error->message;
    EXPECT_EQ(error->subject, subject);
  }
}

TEST(WgQuickTest, AcceptedValuesAreReadAsWritten) {
  // Every key; repeated list keys merge; DNS entries that are not addresses
  // are search domains.
  const WgQuickConfig config = parsed(
      kI + "ListenPort = 51820\nMTU = 0\nAddress = 10.0.0.2\nAddress = ::2\n" +
      "DNS = 1.1.1.1, example.com, not a host!!, 10.1\nDNS = 1.1.1.1:53, , "
      "x\n" +
      kP + "PresharedKey = " + kPsk + "\nPersistentKeepalive = 025\n" +
      "AllowedIPs = 0.0.0.0/0,,::/0\nAllowedIPs = 10.0.0.0/8\n" +
      "Endpoint = vpn.example.com:51820\n");
  EXPECT_EQ(config.name, "Halvorn VPN");
  const WgQuickInterface& face = config.interfaceSection;
  EXPECT_EQ(face.privateKey, keyFromBase64(kPriv));
  EXPECT_EQ(face.listenPort, 51820);
  EXPECT_EQ(face.mtu, 0);
  EXPECT_EQ(face.addresses, (std::vector{range("10.0.0.2"), range("::2")}));
  EXPECT_EQ(face.dnsServers,
            (std::vector{*parseIpAddress("1.1.1.1"), *parseIpAddress("10.1")}));
  EXPECT_THAT(face.dnsSearchDomains, ElementsAre("example.com", "not a host!!",
                                                 "1.1.1.1:53", "", "x"));
  ASSERT_EQ(config.peers.size(), 1u);
  const WgQuickPeer& peer = config.peers[0];
  EXPECT_EQ(peer.publicKey, keyFromBase64(kPub1));
  EXPECT_EQ(peer.presharedKey, keyFromBase64(kPsk));
  EXPECT_EQ(peer.persistentKeepalive, 25);
  EXPECT_EQ(peer.allowedIps, (std::vector{range("0.0.0.0/0"), range("::/0"),
                                          range("10.0.0.0/8")}));
  EXPECT_EQ(peer.endpoint, (WgQuickEndpoint{"vpn.example.com", 51820}));

  // Large inputs are read in linear time.
  std::string many = kI;
  for (int i = 0; i < 100000; ++i) {
    many += "Address = 10.0.0.1/32, ::1\n";
  }
  EXPECT_EQ(parsed(many + kP).interfaceSection.addresses.size(), 200000u);
}

TEST(WgQuickTest, KeysMustBeCanonicalPaddedBase64) {
  Key ones;
  ones.fill(0x11);
  // Refused too: the URL-safe alphabet and hex.
  expectReadings(keyFromBase64, Rows<Key>{{kPub1, ones}},
                 {kPriv.substr(0, 43), kPriv + "=", kPriv.substr(0, 42) + "==",
                  kPriv.substr(0, 20) + "=" + kPriv.substr(21),
                  kPriv.substr(0, 20) + " " + kPriv.substr(21),
                  "-" + kPriv.substr(1), std::string(64, 'a')});
  // Index 42 carries two unused bits, which must be zero.
  const std::string alphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string canonical;
  for (char c : alphabet) {
    if (keyFromBase64(kPriv.substr(0, 42) + c + "=")) {
      canonical += c;
    }
  }
  EXPECT_EQ(canonical, "AEIMQUYcgkosw048");
}

TEST(WgQuickTest, IntegersFollowSwiftAndPortsTheResolver) {
  const Rows<uint16_t> kRows = {
      {"0", 0},    {"65535", 65535}, {"00000000000000000009", 9},
      {"+59", 59}, {"-0", 0},
  };
  // U+0661 is a digit, but not an ASCII one.
  expectReadings(parseUInt16, kRows,
                 {"-1", "65536", "", "+", "+-1", "1 2", "0x10", "\u0661"});
  expectReadings(parseUInt8, Rows<uint8_t>{{"255", 255}}, {"256"});
  // Ports as the system resolver reads them.
  const Rows<uint16_t> kPorts = {
      {"0", 0},  {"+65535", 65535}, {"\t\r 51820", 51820},
      {"-0", 0}, {"https", 443},    {std::string("80\0x", 4), 80},
  };
  expectReadings(parsePort, kPorts,
                 {"65536", "-1", "51820x", "51820 ", "", " ", "no-such-service",
                  "99999999999999999999999"});
}

TEST(WgQuickTest, EndpointShapes) {
  using E = WgQuickEndpoint;
  const Rows<E> kRows = {
      {"[2001:db8::1]:51820", E{"2001:db8::1", 51820}},
      {":51820", E{"", 51820}},
      {"[]:1", E{"", 1}},
      {"a]:1", E{"a]", 1}},
      {"!$&'()*+,-.;=_~:1", E{"!$&'()*+,-.;=_~", 1}},
  };
  expectReadings(
      parseEndpoint, kRows,
      {"", "host", "[::1]", "[::1", "[::1]x:1", "[a]b]:1", "host:1:2", "a b:1",
       "h\u00E9:1", "[fe80::1%en0]:51820", std::string("a\0b:1", 5)});
}

TEST(WgQuickTest, AddressLiteralsFollowApplesRules) {
  using A = std::array<uint8_t, 4>;
  const Rows<A> kRows = {
      {"010.000.000.002", A{10, 0, 0, 2}},  // four parts: decimal
      {"0000000255.0.0.1", A{255, 0, 0, 1}},
      {"10.1", A{10, 0, 0, 1}},
      {"4294967296", A{0, 0, 0, 0}},  // one number wraps at 32 bits
      {"0X0a.0.0.0xFF", A{10, 0, 0, 255}},
      {"010.1", A{8, 0, 0, 1}},  // not four parts: octal
      {"1.16777215", A{1, 255, 255, 255}},
      {"1.2.3.0377", A{1, 2, 3, 255}},
      {std::string("1.2.3.4\0x", 9), A{1, 2, 3, 4}},
  };
  expectReadings(parseIpv4Address, kRows,
                 {"1.16777216", "1.2.3.0400", "256.0.0.1", "1.2.3.",
                  "1.2.3.4.5", "08.1", "0x", "1.2.3.4 ", "1.2.3.4%en0", ""});
  using A6 = std::array<uint8_t, 16>;
  const A6 loopback{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
  const A6 mapped{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff, 1, 2, 3, 4};
  const A6 sevenOnes{0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 0};
  const Rows<A6> kRows6 = {
      {"::", A6{}},
      {"0:0:0:0:0:0:0:1", loopback},
      {"00000000000::0000001", loopback},  // more than four digits
      {"::1%", loopback},
      {"::ffff:1.2.3.4", mapped},
      {"0:0:0:0:0:ffff:001.002.003.004", mapped},
      {"1:1:1:1:1:1:1::", sevenOnes},
  };
  // Only the last zone is dropped.
  expectReadings(
      parseIpv6Address, kRows6,
      {"::1%en0%x", "1:1:1:1:1:1:1:1::", "1:2:3:4:5:6:7", "1:2:3:4:5:6:7:8:9",
       "1:2:3:4:5:6:7:1.2.3.4", "::1.2.3",
       ":1::", "::1:", ":::", "10000::", "::g", "[::1]", "1.2.3.4", "", ":"});
}

TEST(WgQuickTest, RangesSplitAtTheLastSlash) {
  const auto at = [](std::string_view text, uint8_t prefix) {
    return IpAddressRange{*parseIpAddress(text), prefix};
  };
  const Rows<IpAddressRange> kRows = {
      {"10.0.0.1/8", at("10.0.0.1", 8)},  // host bits kept
      {"10.0.0.1", at("10.0.0.1", 32)},
      {"10.0.0.0/33", at("10.0.0.0", 32)},  // clamped
      {"10.0.0.0/-0", at("10.0.0.0", 0)},
      {"::", at("::", 128)},
      {"fe80::1%eth0/200", at("fe80::1", 128)},
      {"fe80::1%a/b/64", at("fe80::1", 64)},  // the zone may hold a '/'
  };
  expectReadings(parseIpAddressRange, kRows,
                 {"10.0.0.0/8/8", "/8", "10.0.0.0/+", "10.0.0.0/",
                  "10.0.0.0/256", "[fd00::1]/128"});
}

// One sentence naming the section, key and text (and so the failure);
// secret keys never quoted; invisible characters escaped; at most 80
// characters of the text.
TEST(WgQuickTest, Messages) {
  const std::string secret = "c2VjcmV0LXNlY3JldC1zZWNyZXQtc2VjcmV0LXNlY3I";
  const std::string base64 = " (expected 44 characters of base64).";
  const std::pair<std::string, std::string> kRows[] = {
      {"\uFEFF" + kIP, "Invalid line: '\\u{FEFF}[Interface]'."},
      {"a\u00A0b\x01\n" + kIP, "Invalid line: 'a\\u{A0}b\\u{1}'."},
      {kIP + std::string(81, 'x'),
       "Invalid line: '" + std::string(80, 'x') + "\u2026'."},
      {inI("ListenPort = x1"),
       "The [Interface] section has an invalid ListenPort: 'x1'."},
      {kP + kP,
       "Two [Peer] sections have the same PublicKey: '" + kPub1 + "'."},
      {inI("MTU = 1\nmtu = 2"),
       "The [Interface] section has more than one 'mtu' entry."},
      {inP("Endpoint = a:1\nENDPOINT = b:2"),
       "The [Peer] section has more than one 'ENDPOINT' entry."},
      {"A = 1\na = 2\n" + kIP,
       "The key 'a' appears more than once before the first section."},
      {replaced(kIP, kPriv, secret),
       "The [Interface] section has an invalid PrivateKey" + base64},
      {inP("PresharedKey = " + secret),
       "The [Peer] section has an invalid PresharedKey" + base64},
  };
  for (const auto& [text, message] : kRows) {
    const auto error = validateWgQuickConfig(text, "n");
    ASSERT_TRUE(error) << text;
    EXPECT_EQ(error->message, message);
  }
}

}  // namespace
}  // namespace movaro::platform
