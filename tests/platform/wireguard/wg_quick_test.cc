#include "platform/wireguard/wg_quick.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/text/unicode_text.h"

namespace movaro::platform {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using F = WgQuickFailure;

const std::string kPriv = "AAIDBAUGBwgJCgsMDQ4PEBESExQVFhcYGRobHB0eH2A=";
const std::string kPub1 = "ERERERERERERERERERERERERERERERERERERERERERE=";
const std::string kPub2 = "IiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiIiI=";
const std::string kPsk = "MzMzMzMzMzMzMzMzMzMzMzMzMzMzMzMzMzMzMzMzMzM=";
const std::string kHexKey(64, 'a');

const std::string kI = "[Interface]\nPrivateKey = " + kPriv + "\n";
const std::string kP = "[Peer]\nPublicKey = " + kPub1 + "\n";
const std::string kBase = kI + "Address = 10.0.0.2/32\nDNS = 1.1.1.1\n\n" + kP +
                          "AllowedIPs = 0.0.0.0/0, ::/0\n"
                          "Endpoint = vpn.example.com:51820\n";
const std::string kIP = kI + kP;

std::string replaced(std::string text,
                     std::string_view from,
                     std::string_view to) {
  for (size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::string withPriv(const std::string& key) {
  return replaced(kIP, kPriv, key);
}

std::string withPeerLine(const std::string& line) {
  return kIP + line + "\n";
}

std::string withInterfaceLine(const std::string& line) {
  return kI + line + "\n" + kP;
}

WgQuickConfig parsed(const std::string& text) {
  auto result = parseWgQuickConfig(text, "Halvorn VPN");
  const auto* error = std::get_if<WgQuickError>(&result);
  EXPECT_EQ(error, nullptr) << (error ? error->message : "");
  auto* config = std::get_if<WgQuickConfig>(&result);
  return config ? *config : WgQuickConfig{};
}

struct WorkedCase {
  int number;
  std::string text;
  std::optional<F> failure;  // nullopt: accepted
  std::string subject;
  int peers;  // when accepted and the count matters, else -1
};

WorkedCase accepted(int number, std::string text, int peers = -1) {
  return {number, std::move(text), std::nullopt, "", peers};
}

WorkedCase rejected(int number,
                    std::string text,
                    F failure,
                    std::string subject = "") {
  return {number, std::move(text), failure, std::move(subject), -1};
}

// The platform parser's verdicts on our worked cases, numbered as in our
// wg-quick notes.
TEST(WgQuickTest, WorkedCases) {
  const WorkedCase kTestCases[] = {
      accepted(1, kBase, 1),
      accepted(2, replaced(kBase, "\n", "\r\n"), 1),
      accepted(3, replaced(kBase, "\n", "\r"), 1),
      accepted(4, replaced(kBase, "\n", " \t \n"), 1),
      accepted(5, replaced(kBase, kPriv, kPriv + " # mine")),
      accepted(6, replaced(kBase, "[Interface]", "[Interface] # main")),
      accepted(7, replaced(replaced(replaced(replaced(kBase, "[Interface]",
                                                      "[interface]"),
                                             "PrivateKey", "privatekey"),
                                    "[Peer]", "[peer]"),
                           "AllowedIPs", "allowedips")),
      accepted(8, replaced(kBase, "[Interface]", "[INTERFACE]")),
      rejected(9, replaced(kBase, "[Interface]", "[ Interface ]"),
               F::kInvalidLine, "[ Interface ]"),
      rejected(10, kI + "; comment\n" + kP, F::kInvalidLine, "; comment"),
      rejected(11, kP, F::kNoInterface),
      rejected(12, "", F::kNoInterface),
      rejected(13, "# one\n\n   # two\n\n", F::kNoInterface),
      rejected(14, "[Interface]", F::kNoInterface),
      rejected(15, kI + kI + kP, F::kMultipleInterfaces),
      rejected(16, kI + "[Interface]\n" + kP, F::kInterfaceHasNoPrivateKey),
      accepted(17, kIP + "[Interface]", 1),
      accepted(18, kI + "[Peer]\n\n\n", 0),
      rejected(19, kI + "[Peer]\n# end\n", F::kPeerHasNoPublicKey),
      rejected(20, kI + "[Peer]\n   ", F::kPeerHasNoPublicKey),
      rejected(21, kI + "[Peer]\nAllowedIPs = 10.0.0.0/8\n" + kP,
               F::kPeerHasNoPublicKey),
      rejected(22, withInterfaceLine("PostUp = iptables -A FORWARD -j ACCEPT"),
               F::kInterfaceHasUnrecognizedKey, "PostUp"),
      rejected(23, withInterfaceLine("Table = off"),
               F::kInterfaceHasUnrecognizedKey, "Table"),
      rejected(24, withInterfaceLine("SaveConfig = true"),
               F::kInterfaceHasUnrecognizedKey, "SaveConfig"),
      accepted(25, "PostUp = foo\n" + kIP),
      rejected(26, "PostUp = foo\npostup = bar\n" + kIP,
               F::kMultipleEntriesForKey, "postup"),
      rejected(27, "hello\n" + kIP, F::kInvalidLine, "hello"),
      rejected(28, withInterfaceLine("privatekey = " + kPriv),
               F::kMultipleEntriesForKey, "privatekey"),
      accepted(29, withInterfaceLine(
                       "Address = 10.0.0.2/32\nAddress = fd00::2/128")),
      accepted(30, withPeerLine("AllowedIPs = 0.0.0.0/0\nAllowedIPs = ::/0")),
      rejected(31,
               withPeerLine("Endpoint = a.example:1\nEndpoint = b.example:2"),
               F::kMultipleEntriesForKey, "Endpoint"),
      rejected(32, withPeerLine("Endpoint = 192.0.2.1"),
               F::kPeerHasInvalidEndpoint, "192.0.2.1"),
      rejected(33, withPeerLine("Endpoint = 2001:db8::1:51820"),
               F::kPeerHasInvalidEndpoint, "2001:db8::1:51820"),
      accepted(34, withPeerLine("Endpoint = [2001:db8::1]:51820")),
      rejected(35, withPeerLine("Endpoint = [2001:db8::1]"),
               F::kPeerHasInvalidEndpoint, "[2001:db8::1]"),
      rejected(36, withPeerLine("Endpoint = vpn.example.com:"),
               F::kPeerHasInvalidEndpoint, "vpn.example.com:"),
      rejected(37, withPeerLine("Endpoint = 192.0.2.1:65536"),
               F::kPeerHasInvalidEndpoint, "192.0.2.1:65536"),
      accepted(38, withPeerLine("Endpoint = 192.0.2.1:0")),
      accepted(39, withPeerLine("Endpoint = :51820")),
      accepted(40, withPeerLine("Endpoint = 192.0.2.1: 51820")),
      accepted(41, withPeerLine("Endpoint = vpn.example.com:https")),
      rejected(42, withPeerLine("Endpoint = b\u00FCcher.example:51820"),
               F::kPeerHasInvalidEndpoint, "b\u00FCcher.example:51820"),
      accepted(43, withPeerLine("Endpoint = my_host:51820")),
      rejected(44, withPeerLine("Endpoint = [fe80::1%en0]:51820"),
               F::kPeerHasInvalidEndpoint, "[fe80::1%en0]:51820"),
      rejected(45, withPeerLine("Endpoint = host#1:51820"),
               F::kPeerHasInvalidEndpoint, "host"),
      rejected(46, withPeerLine("AllowedIPs = 0.0.0.0/0 ::/0"),
               F::kPeerHasInvalidAllowedIp, "0.0.0.0/0 ::/0"),
      accepted(47, withPeerLine("AllowedIPs = 0.0.0.0/0,,::/0")),
      rejected(48, withPeerLine("AllowedIPs = 0.0.0.0/0, , ::/0"),
               F::kPeerHasInvalidAllowedIp),
      accepted(49, withPeerLine("AllowedIPs = 0.0.0.0/0, ::/0")),
      accepted(50, withPeerLine("AllowedIPs = 10.0.0.0/8,\t10.1.0.0/16")),
      accepted(51, withPeerLine("AllowedIPs = 10.0.0.1")),
      accepted(52, withPeerLine("AllowedIPs = 10.0.0.0/33")),
      rejected(53, withPeerLine("AllowedIPs = 10.0.0.0/256"),
               F::kPeerHasInvalidAllowedIp, "10.0.0.0/256"),
      rejected(54, withPeerLine("AllowedIPs = 10.0.0.0/"),
               F::kPeerHasInvalidAllowedIp, "10.0.0.0/"),
      accepted(55, withInterfaceLine("Address = 10.0.0.1/8")),
      rejected(56, withInterfaceLine("Address = 256.0.0.1/32"),
               F::kInterfaceHasInvalidAddress, "256.0.0.1/32"),
      rejected(57, withInterfaceLine("Address = [fd00::1]/128"),
               F::kInterfaceHasInvalidAddress, "[fd00::1]/128"),
      accepted(58, withInterfaceLine("Address = 10.1/8")),
      accepted(59, withInterfaceLine("Address = 010.000.000.002/32")),
      accepted(60, withInterfaceLine("Address = fe80::1%eth0/64")),
      accepted(61, withInterfaceLine("DNS =")),
      accepted(62, withInterfaceLine("Address =")),
      accepted(63, withPeerLine("AllowedIPs =")),
      rejected(64, withInterfaceLine("ListenPort ="),
               F::kInterfaceHasInvalidListenPort),
      rejected(65, withPeerLine("Endpoint ="), F::kPeerHasInvalidEndpoint),
      rejected(66, kI + "[Peer]\nPublicKey =\n", F::kPeerHasInvalidPublicKey),
      rejected(67, withPeerLine("PersistentKeepalive ="),
               F::kPeerHasInvalidPersistentKeepAlive),
      accepted(68,
               withInterfaceLine("DNS = 1.1.1.1, example.com, not a host!!")),
      accepted(69, withInterfaceLine("DNS = 1.1.1.1:53")),
      accepted(70, withInterfaceLine("ListenPort = 65535")),
      rejected(71, withInterfaceLine("ListenPort = 65536"),
               F::kInterfaceHasInvalidListenPort, "65536"),
      accepted(72, withInterfaceLine("ListenPort = +51820")),
      rejected(73, withInterfaceLine("ListenPort = -1"),
               F::kInterfaceHasInvalidListenPort, "-1"),
      accepted(74, withInterfaceLine("MTU = 0")),
      rejected(75, withInterfaceLine("MTU = 70000"), F::kInterfaceHasInvalidMtu,
               "70000"),
      rejected(76, withPeerLine("PersistentKeepalive = off"),
               F::kPeerHasInvalidPersistentKeepAlive, "off"),
      accepted(77, withPeerLine("PersistentKeepalive = 25")),
      rejected(78, withPriv(kHexKey), F::kInterfaceHasInvalidPrivateKey,
               kHexKey),
      rejected(79, withPriv(kPriv.substr(0, 43)),
               F::kInterfaceHasInvalidPrivateKey, kPriv.substr(0, 43)),
      rejected(80, withPriv(kPriv.substr(0, 42) + "B="),
               F::kInterfaceHasInvalidPrivateKey, kPriv.substr(0, 42) + "B="),
      rejected(81, withPriv("-" + kPriv.substr(1)),
               F::kInterfaceHasInvalidPrivateKey, "-" + kPriv.substr(1)),
      accepted(82, withPeerLine("PresharedKey = " + kPsk)),
      rejected(83, kIP + kP, F::kMultiplePeersWithSamePublicKey, kPub1),
      rejected(84, kP + kP, F::kMultiplePeersWithSamePublicKey, kPub1),
      accepted(85, kP + kI, 1),
      rejected(86, withInterfaceLine("Private Key = x"),
               F::kInterfaceHasUnrecognizedKey, "Private Key"),
      rejected(87, "\uFEFF" + kIP, F::kInvalidLine, "\uFEFF[Interface]"),
      rejected(88, withInterfaceLine("= foo"), F::kInterfaceHasUnrecognizedKey),
      rejected(89, "[Interface]\nPrivateKey = bad\nFoo = 1\n" + kP,
               F::kInterfaceHasUnrecognizedKey, "Foo"),
      rejected(90, "[Interface]\nPrivateKey = bad\n[Peer]\nFoo = 1\n",
               F::kInterfaceHasInvalidPrivateKey, "bad"),
      rejected(91, "[Interface]\nListenPort = x\n" + kP,
               F::kInterfaceHasNoPrivateKey),
      rejected(92, withInterfaceLine("PublicKey = " + kPub1),
               F::kInterfaceHasUnrecognizedKey, "PublicKey"),
      rejected(93, withPeerLine("Address = 10.0.0.2/32"),
               F::kPeerHasUnrecognizedKey, "Address"),
      accepted(94, kI, 0),
      accepted(95, kIP + "[Peer]\nPublicKey = " + kPub2 + "\n", 2),
      rejected(96, kIP + "[Interface]\nPrivateKey = " + kPriv + "\n",
               F::kMultipleInterfaces),
  };
  for (const auto& test : kTestCases) {
    SCOPED_TRACE("case " + std::to_string(test.number));
    auto result = parseWgQuickConfig(test.text, "Halvorn VPN");
    const auto* error = std::get_if<WgQuickError>(&result);
    const auto* config = std::get_if<WgQuickConfig>(&result);
    const std::optional<F> verdict =
        error ? std::optional<F>(error->failure) : std::nullopt;
    EXPECT_EQ(verdict, test.failure) << (error ? error->message : "accepted");
    EXPECT_EQ(validateWgQuickConfig(test.text, "x").has_value(),
              test.failure.has_value());
    if (error) {
      EXPECT_EQ(error->subject, test.subject);
    }
    if (config && test.peers >= 0) {
      EXPECT_EQ(config->peers.size(), static_cast<size_t>(test.peers));
    }
  }
}

std::string v4(const IpAddress& address) {
  std::string out;
  for (size_t i = 0; i < 4; ++i) {
    out += (i ? "." : "") + std::to_string(address.bytes[i]);
  }
  return out;
}

TEST(WgQuickTest, AcceptedValuesAreReadAsWritten) {
  const WgQuickConfig base = parsed(kBase);
  EXPECT_EQ(base.name, "Halvorn VPN");
  EXPECT_EQ(base.interfaceSection.privateKey, *keyFromBase64(kPriv));
  ASSERT_EQ(base.interfaceSection.addresses.size(), 1u);
  EXPECT_EQ(v4(base.interfaceSection.addresses[0].address), "10.0.0.2");
  ASSERT_EQ(base.interfaceSection.dnsServers.size(), 1u);
  EXPECT_EQ(v4(base.interfaceSection.dnsServers[0]), "1.1.1.1");
  ASSERT_EQ(base.peers.size(), 1u);
  EXPECT_EQ(base.peers[0].allowedIps.size(), 2u);
  EXPECT_EQ(base.peers[0].endpoint,
            (WgQuickEndpoint{"vpn.example.com", 51820}));

  // Repeated list keys merge (29, 30).
  EXPECT_EQ(parsed(withInterfaceLine("Address = 10.0.0.2/32\nAddress = ::2"))
                .interfaceSection.addresses.size(),
            2u);
  EXPECT_EQ(parsed(withPeerLine("AllowedIPs = 0.0.0.0/0\nAllowedIPs = ::/0"))
                .peers[0]
                .allowedIps.size(),
            2u);

  const struct {
    std::string address;
    std::string expected;
    int prefix;
  } kAddresses[] = {
      {"10.0.0.1/8", "10.0.0.1", 8},           // 55: host bits kept
      {"10.1/8", "10.0.0.1", 8},               // 58
      {"010.000.000.002/32", "10.0.0.2", 32},  // 59: decimal
      {"10.0.0.0/33", "10.0.0.0", 32},         // 52: clamped
      {"10.0.0.1", "10.0.0.1", 32},            // 51
  };
  for (const auto& test : kAddresses) {
    SCOPED_TRACE(test.address);
    const auto& ranges = parsed(withInterfaceLine("Address = " + test.address))
                             .interfaceSection.addresses;
    ASSERT_EQ(ranges.size(), 1u);
    EXPECT_EQ(v4(ranges[0].address), test.expected);
    EXPECT_EQ(ranges[0].prefixLength, test.prefix);
  }
  const auto zoned = parsed(withInterfaceLine("Address = fe80::1%eth0/200"))
                         .interfaceSection.addresses;
  ASSERT_EQ(zoned.size(), 1u);
  EXPECT_EQ(zoned[0].address, *parseIpAddress("fe80::1"));
  EXPECT_EQ(zoned[0].prefixLength, 128);

  // 68, 69: DNS entries that are not addresses are search domains.
  const auto dns = parsed(withInterfaceLine(
                              "DNS = 1.1.1.1, example.com, not a host!!, 10.1"))
                       .interfaceSection;
  EXPECT_EQ(dns.dnsServers.size(), 2u);
  EXPECT_THAT(dns.dnsSearchDomains,
              testing::ElementsAre("example.com", "not a host!!"));
  EXPECT_THAT(parsed(withInterfaceLine("DNS = 1.1.1.1:53, , x"))
                  .interfaceSection.dnsSearchDomains,
              testing::ElementsAre("1.1.1.1:53", "", "x"));

  const struct {
    std::string endpoint;
    WgQuickEndpoint expected;
  } kEndpoints[] = {
      {"[2001:db8::1]:51820", {"2001:db8::1", 51820}},      // 34
      {"192.0.2.1:0", {"192.0.2.1", 0}},                    // 38
      {":51820", {"", 51820}},                              // 39
      {"192.0.2.1: 51820", {"192.0.2.1", 51820}},           // 40
      {"vpn.example.com:https", {"vpn.example.com", 443}},  // 41
      {"[]:1", {"", 1}},
      {"[10.0.0.1]:-0", {"10.0.0.1", 0}},
  };
  for (const auto& test : kEndpoints) {
    SCOPED_TRACE(test.endpoint);
    EXPECT_EQ(
        parsed(withPeerLine("Endpoint = " + test.endpoint)).peers[0].endpoint,
        test.expected);
  }
  const WgQuickPeer full = parsed(withPeerLine("PresharedKey = " + kPsk +
                                               "\nPersistentKeepalive = 025"))
                               .peers[0];
  EXPECT_EQ(full.presharedKey, keyFromBase64(kPsk));
  EXPECT_EQ(full.persistentKeepalive, 25);
}

TEST(WgQuickTest, KeysMustBeCanonicalPaddedBase64) {
  EXPECT_EQ(*keyFromBase64(kPub1), Key{[] {
    Key key;
    key.fill(0x11);
    return key;
  }()});
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
  const std::string kRejected[] = {
      "",
      kPriv.substr(0, 43),
      kPriv + "=",
      kPriv.substr(0, 42) + "==",
      kPriv.substr(0, 20) + "=" + kPriv.substr(21),
      kPriv.substr(0, 20) + " " + kPriv.substr(21),
      "_" + kPriv.substr(1),
      kHexKey,
  };
  for (const std::string& text : kRejected) {
    SCOPED_TRACE(text);
    EXPECT_FALSE(keyFromBase64(text));
  }
  // The C decoder stops at the first NUL.
  EXPECT_TRUE(keyFromBase64(kPriv + std::string("\0junk", 5)));
  EXPECT_TRUE(parsed(withPriv(kPriv + std::string("\0junk", 5))).peers.size() ==
              1);
}

TEST(WgQuickTest, IntegersFollowSwiftParsing) {
  const struct {
    std::string text;
    std::optional<uint16_t> value;
  } kTestCases[] = {
      {"0", 0},
      {"65535", 65535},
      {"051820", 51820},
      {"+5", 5},
      {"-0", 0},
      {"-00", 0},
      {"65536", {}},
      {"-1", {}},
      {"", {}},
      {"+", {}},
      {"-", {}},
      {"+-1", {}},
      {"1 2", {}},
      {"0x10", {}},
      {"1_000", {}},
      {"\u0661", {}},
      {"000000000000000000001", 1},
  };
  for (const auto& test : kTestCases) {
    SCOPED_TRACE(test.text);
    EXPECT_EQ(parseUInt16(test.text), test.value);
  }
  EXPECT_EQ(parseUInt8("255"), 255);
  EXPECT_FALSE(parseUInt8("256"));
}

TEST(WgQuickTest, PortsFollowTheSystemResolver) {
  const struct {
    std::string text;
    std::optional<uint16_t> port;
  } kTestCases[] = {
      {"0", 0},
      {"+51820", 51820},
      {" 51820", 51820},
      {"\t\v51820", 51820},
      {"-0", 0},
      {"https", 443},
      {"ssh", 22},
      {"65536", {}},
      {"-1", {}},
      {"51820x", {}},
      {"0x50", {}},
      {"51820:1", {}},
      {"", {}},
      {" ", {}},
      {"+", {}},
      {"51820 ", {}},
      {"no-such-service", {}},
      {"99999999999999999999999", {}},
      {std::string("80\0x", 4), 80},
  };
  for (const auto& test : kTestCases) {
    SCOPED_TRACE(test.text);
    EXPECT_EQ(parsePort(test.text), test.port);
  }
}

TEST(WgQuickTest, EndpointShapes) {
  const std::string kRejected[] = {
      "",         "host",    "[::1]",    "[::1",
      "[::1]x:1", "[a]b]:1", "host:1:2", "a@b:1",
      "a b:1",    "a/b:1",   "a?b:1",    "h\u00E9:1",
      "[::1]:1]", "a%b:1",   "host:",    std::string("a\0b:1", 5),
  };
  for (const std::string& text : kRejected) {
    SCOPED_TRACE(text);
    EXPECT_FALSE(parseEndpoint(text));
  }
  EXPECT_EQ(parseEndpoint("!$&'()*+,-.;=_~:1")->host, "!$&'()*+,-.;=_~");
  EXPECT_EQ(parseEndpoint("a]:1")->host, "a]");
}

TEST(WgQuickTest, Ipv4LiteralsFollowApplesRules) {
  const struct {
    std::string text;
    std::optional<std::string> address;
  } kTestCases[] = {
      {"1.2.3.4", "1.2.3.4"},
      {"010.000.000.002", "10.0.0.2"},
      {"0000000255.0.0.1", "255.0.0.1"},
      {"10.1", "10.0.0.1"},
      {"1", "0.0.0.1"},
      {"2130706433", "127.0.0.1"},
      {"4294967296", "0.0.0.0"},  // one number wraps at 32 bits
      {"0x0a.0.0.1", "10.0.0.1"},
      {"0XFFFFFFFF", "255.255.255.255"},
      {"010.1", "8.0.0.1"},  // not four parts: octal
      {"1.16777215", "1.255.255.255"},
      {"1.2.65535", "1.2.255.255"},
      {"1.2.3.0377", "1.2.3.255"},
      {std::string("1.2.3.4\0x", 9), "1.2.3.4"},
      {"1.16777216", {}},
      {"1.2.65536", {}},
      {"1.2.3.0400", {}},
      {"256.0.0.1", {}},
      {"1.2.3.", {}},
      {".1.2.3", {}},
      {"1..2.3", {}},
      {"1.2.3.4.5", {}},
      {"08.1", {}},
      {"0x", {}},
      {"0x.1", {}},
      {"1.2.3.4 ", {}},
      {" 1.2.3.4", {}},
      {"+1", {}},
      {"1.2.3.4%en0", {}},
      {"::1", {}},
      {"", {}},
  };
  for (const auto& test : kTestCases) {
    SCOPED_TRACE(test.text);
    const auto bytes = parseIpv4Address(test.text);
    ASSERT_EQ(bytes.has_value(), test.address.has_value());
    if (bytes) {
      IpAddress address;
      std::copy(bytes->begin(), bytes->end(), address.bytes.begin());
      EXPECT_EQ(v4(address), *test.address);
    }
  }
}

TEST(WgQuickTest, Ipv6LiteralsFollowApplesRules) {
  using Bytes = std::array<uint8_t, 16>;
  const Bytes loopback{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
  const Bytes mapped{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff, 1, 2, 3, 4};
  const Bytes sevenOnes{0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 0};
  const struct {
    std::string text;
    std::optional<Bytes> bytes;
  } kTestCases[] = {
      {"::", Bytes{}},
      {"::1", loopback},
      {"0:0:0:0:0:0:0:1", loopback},
      {"00000000000::0000001", loopback},  // more than four digits
      {"::1%", loopback},
      {"::1%en0%x", {}},  // only the last zone is dropped
      {"::1%whatever", loopback},
      {"::ffff:1.2.3.4", mapped},
      {"0:0:0:0:0:ffff:001.002.003.004", mapped},
      {"1:1:1:1:1:1:1::", sevenOnes},
      {"1:1:1:1:1:1:1:1::", {}},
      {"1:2:3:4:5:6:7", {}},
      {"1:2:3:4:5:6:7:8:9", {}},
      {"1:2:3:4:5:6:7:1.2.3.4", {}},
      {"::1.2.3", {}},
      {"::1.2.3.4.5", {}},
      {"::a.2.3.4", {}},
      {":1::", {}},
      {"1:", {}},
      {"::1:", {}},
      {":::", {}},
      {"1::2::3", {}},
      {"10000::", {}},
      {"::g", {}},
      {"[::1]", {}},
      {"1.2.3.4", {}},
      {"", {}},
      {":", {}},
  };
  for (const auto& test : kTestCases) {
    SCOPED_TRACE(test.text);
    EXPECT_EQ(parseIpv6Address(test.text), test.bytes);
  }
}

TEST(WgQuickTest, RangesSplitAtTheLastSlash) {
  // The zone is dropped whatever it holds, a '/' included.
  const auto range = parseIpAddressRange("fe80::1%a/b/64");
  ASSERT_TRUE(range);
  EXPECT_EQ(range->address, *parseIpAddress("fe80::1"));
  EXPECT_EQ(range->prefixLength, 64);
  EXPECT_FALSE(parseIpAddressRange("10.0.0.0/8/8"));
  EXPECT_FALSE(parseIpAddressRange("/8"));
  EXPECT_FALSE(parseIpAddressRange("10.0.0.0/+"));
  EXPECT_EQ(parseIpAddressRange("10.0.0.0/-0")->prefixLength, 0);
}

TEST(WgQuickTest, MessagesNameTheSectionKeyAndText) {
  const struct {
    std::string text;
    std::vector<std::string> mentions;
  } kTestCases[] = {
      {"[Interfac]\n" + kIP, {"Invalid line", "'[Interfac]'"}},
      {kP, {"[Interface]"}},
      {kI + kI, {"more than one [Interface]"}},
      {"[Interface]\n", {}},
      {withInterfaceLine("ListenPort = x1"),
       {"[Interface]", "ListenPort", "'x1'"}},
      {withInterfaceLine("Address = 1.2.3.256"),
       {"[Interface]", "Address", "'1.2.3.256'"}},
      {withInterfaceLine("MTU = big"), {"[Interface]", "MTU", "'big'"}},
      {withInterfaceLine("PostUp = x"), {"[Interface]", "'PostUp'"}},
      {kI + "[Peer]\nEndpoint = a:1\n", {"[Peer]", "PublicKey"}},
      {kI + "[Peer]\nPublicKey = abc\n", {"[Peer]", "PublicKey", "'abc'"}},
      {withPeerLine("AllowedIPs = 1.2.3.4/x"),
       {"[Peer]", "AllowedIPs", "'1.2.3.4/x'"}},
      {withPeerLine("Endpoint = 1.2.3.4:99999"),
       {"The [Peer] section has an invalid Endpoint: '1.2.3.4:99999'."}},
      {withPeerLine("PersistentKeepalive = off"),
       {"PersistentKeepalive", "'off'"}},
      {withPeerLine("DNS = 1.1.1.1"), {"[Peer]", "'DNS'"}},
      {kP + kP, {"same PublicKey", kPub1}},
      {withInterfaceLine("MTU = 1\nmtu = 2"), {"[Interface]", "'mtu'"}},
      {withPeerLine("Endpoint = a:1\nENDPOINT = b:2"),
       {"[Peer]", "'ENDPOINT'"}},
      {"A = 1\na = 2\n" + kIP, {"'a'", "before the first section"}},
  };
  for (const auto& test : kTestCases) {
    SCOPED_TRACE(test.text);
    const auto error = validateWgQuickConfig(test.text, "n");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->message.back(), '.');
    for (const std::string& mention : test.mentions) {
      EXPECT_THAT(error->message, HasSubstr(mention));
    }
  }
}

TEST(WgQuickTest, MessagesNeverQuoteSecretKeys) {
  const std::string secret = "c2VjcmV0LXNlY3JldC1zZWNyZXQtc2VjcmV0LXNlY3I";
  const auto privateKey = validateWgQuickConfig(withPriv(secret), "n");
  ASSERT_TRUE(privateKey);
  EXPECT_THAT(privateKey->message, HasSubstr("PrivateKey"));
  EXPECT_THAT(privateKey->message, Not(HasSubstr(secret)));
  EXPECT_EQ(privateKey->subject, secret);
  const auto preshared =
      validateWgQuickConfig(withPeerLine("PresharedKey = " + secret), "n");
  ASSERT_TRUE(preshared);
  EXPECT_EQ(preshared->failure, F::kPeerHasInvalidPreSharedKey);
  EXPECT_THAT(preshared->message, HasSubstr("PresharedKey"));
  EXPECT_THAT(preshared->message, Not(HasSubstr(secret)));
}

TEST(WgQuickTest, MessagesShowInvisibleCharactersAndStayShort) {
  EXPECT_EQ(validateWgQuickConfig("\uFEFF" + kIP, "n")->message,
            "Invalid line: '\\u{FEFF}[Interface]'.");
  EXPECT_EQ(validateWgQuickConfig("a\u00A0b\x01\n" + kIP, "n")->message,
            "Invalid line: 'a\\u{A0}b\\u{1}'.");
  const std::string longLine(100000, 'x');
  const auto error = validateWgQuickConfig(kIP + longLine, "n");
  ASSERT_TRUE(error);
  EXPECT_EQ(error->subject, longLine);
  EXPECT_LT(error->message.size(), 200u);
  EXPECT_THAT(error->message, HasSubstr("\u2026"));
}

TEST(WgQuickTest, CharactersAreComparedAsSwiftComparesThem) {
  // Keys that are canonically equal are the same key.
  const auto repeated =
      validateWgQuickConfig("Cafe\u0301 = 1\nCAF\u00C9 = 2\n" + kIP, "n");
  ASSERT_TRUE(repeated);
  EXPECT_EQ(repeated->failure, F::kMultipleEntriesForKey);
  EXPECT_EQ(repeated->subject, "CAF\u00C9");
  // A Kelvin sign lowercases to 'k'.
  EXPECT_FALSE(validateWgQuickConfig(
      replaced(kIP, "PrivateKey", "Private\u212Aey"), "n"));
  // '#', '=' and ',' carrying a combining mark are other characters.
  EXPECT_EQ(validateWgQuickConfig(replaced(kIP, kPriv, kPriv + " #\u0301"), "n")
                ->failure,
            F::kInterfaceHasInvalidPrivateKey);
  EXPECT_EQ(
      validateWgQuickConfig(withInterfaceLine("MTU =\u0301 1"), "n")->failure,
      F::kInvalidLine);
  EXPECT_FALSE(validateWgQuickConfig(
      withInterfaceLine("Address = fe80::1%a,\u0301b"), "n"));
}

TEST(WgQuickTest, AnyInputGetsAVerdict) {
  // Ill-formed UTF-8 reads as U+FFFD; messages stay well-formed.
  const auto garbage = validateWgQuickConfig("\xFF\xFE[Interface]\n" + kP, "n");
  ASSERT_TRUE(garbage);
  EXPECT_EQ(garbage->failure, F::kInvalidLine);
  EXPECT_EQ(garbage->subject, "\uFFFD\uFFFD[Interface]");
  EXPECT_TRUE(isValidUtf8(garbage->message));
  EXPECT_FALSE(validateWgQuickConfig(kIP + "# \xC3\n", "n"));
  EXPECT_EQ(validateWgQuickConfig(std::string(1, '\0'), "n")->failure,
            F::kInvalidLine);

  // Large inputs are read in linear time.
  std::string many = kI;
  for (int i = 0; i < 100000; ++i) {
    many += "Address = 10.0.0.1/32, ::1\n";
  }
  EXPECT_EQ(parsed(many + kP).interfaceSection.addresses.size(), 200000u);
  std::string peers = kI;
  for (int i = 0; i < 20000; ++i) {
    peers += "[Peer]\nPublicKey = " + kPub1 + "\n";
  }
  EXPECT_EQ(validateWgQuickConfig(peers, "n")->failure,
            F::kMultiplePeersWithSamePublicKey);
  EXPECT_EQ(validateWgQuickConfig(std::string(1000000, '='), "n")->failure,
            F::kNoInterface);
  EXPECT_EQ(validateWgQuickConfig(kI + std::string(1000000, '='), "n")->failure,
            F::kInterfaceHasUnrecognizedKey);
  EXPECT_EQ(validateWgQuickConfig(
                withPeerLine("Endpoint = " + std::string(1000000, '[')), "n")
                ->failure,
            F::kPeerHasInvalidEndpoint);
}

}  // namespace
}  // namespace movaro::platform
