// The connect that writes, saves, reloads and starts the tunnel profile.
#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

using ::testing::ElementsAre;

TEST_F(TunnelTest, FirstConnectWritesEveryFieldSavesReloadsAndStarts) {
  // The stored list is cleaned when read, and never rewritten.
  const Value stored = ValueList{"Office", 3, "Office", " Home ", ValueList{}};
  mac.defaults.values[Value("HalvornTrustedWifiSsids")] = stored;
  EXPECT_THAT(connectWith(dict({{"verificationUrl", "https://check"},
                                {"enableOnDemand", true},
                                {"sessionEndsAtEpochMilliseconds", 1.7e12}})),
              IsValue(true));
  EXPECT_THAT(mac.log.names(),
              ElementsAre("ne.loadAll", "ne.save", "ne.reload", "ne.start"));
  sim::SavedProfile* saved = savedVpn();
  ASSERT_NE(saved, nullptr);
  const auto& fields = saved->fields;
  EXPECT_EQ(fields.description, "Halvorn VPN");
  EXPECT_TRUE(fields.enabled);
  EXPECT_TRUE(fields.onDemandEnabled);
  ASSERT_EQ(fields.rules.size(), 2u);
  EXPECT_EQ(fields.rules[0].action,
            platform::OnDemandRule::Action::kDisconnect);
  EXPECT_THAT(fields.rules[0].ssidMatch, ElementsAre("Home", "Office"));
  EXPECT_EQ(fields.rules[1].action, platform::OnDemandRule::Action::kConnect);
  EXPECT_TRUE(fields.rules[1].ssidMatch.empty());
  const auto& protocol = *fields.protocol;
  EXPECT_EQ(protocol.providerBundleIdentifier, kVpnProvider);
  EXPECT_EQ(protocol.serverAddress, "vpn.example.com:51820");
  EXPECT_TRUE(protocol.includeAllNetworks);
  EXPECT_EQ(Value(*protocol.providerConfiguration),
            Value(dict(
                {{"wgQuickConfig", kValidConfig},
                 {"trustedWifiSsids", ValueList{"Home", "Office"}},
                 {"sessionEndsAtEpochMilliseconds", int64_t{1700000000000}}})));
  EXPECT_EQ(*find(mac.defaults.values, "HalvornTrustedWifiSsids"), stored);
  // The start carries no options.
  EXPECT_FALSE(find(mac.log.named("ne.start")[0].details, "options"));
  EXPECT_EQ(status(), platform::kVpnStatusConnecting);
  // A connect while up rewrites and starts again.
  advance(2);
  EXPECT_EQ(status(), platform::kVpnStatusConnected);
  mac.log.clear();
  EXPECT_THAT(connectWith({}), IsValue(true));
  EXPECT_THAT(mac.log.names(),
              ElementsAre("ne.loadAll", "ne.save", "ne.reload", "ne.start"));
}

// A null argument reads as a missing one; without a session end (a text is
// none) the provider configuration has two keys.
TEST_F(TunnelTest, ProtectAllNetworksNeedsAVerificationUrlWithoutSplitTunnel) {
  // The verification URL, split tunnelling, and whether all networks are
  // protected.
  const std::tuple<Value, Value, bool> cases[] = {
      {"https://v", Value(), true},
      {"https://v", false, true},
      {"https://v", true, false},
      {"", false, false},
      {Value(), false, false},
      {"https://v", "true", true},
      {5, false, false},
  };
  for (const auto& [url, split, expected] : cases) {
    EXPECT_THAT(connectWith(dict({{"verificationUrl", url},
                                  {"splitTunnelEnabled", split},
                                  {"sessionEndsAtEpochMilliseconds", "1"}})),
                IsValue(true));
    EXPECT_EQ(savedVpn()->fields.protocol->includeAllNetworks, expected);
    EXPECT_EQ(Value(providerConfiguration()),
              Value(dict({{"wgQuickConfig", kValidConfig},
                          {"trustedWifiSsids", ValueList{}}})));
  }
}

// Blank (Unicode white space too), missing or mistyped text is refused, and
// connect has nothing cached to fall back on; a refused push keeps the
// earlier text, stored as received, and a connect's own text replaces it
// even when that connect fails.
TEST_F(TunnelTest, ConnectUsesThePushedTextAndReplacesItWithItsOwn) {
  for (const Value& args : std::vector<Value>{Value(), dict({{"config", 5}}),
                                              dict({}), ValueList{"config"}}) {
    EXPECT_THAT(callMain("connect", args),
                IsError("NO_CONFIG", "No configuration provided"));
  }
  const std::string padded = "\n" + std::string(kValidConfig) + "  ";
  EXPECT_THAT(callMain("pushConfig", dict({{"config", padded}})),
              IsValue(true));
  for (const Value& args : std::vector<Value>{
           dict({{"config", " \n\t\r\n "}}), dict({{"config", "\u2028\u00a0"}}),
           dict({{"config", 5}}), dict({}), Value("[Interface]")}) {
    EXPECT_THAT(callMain("pushConfig", args),
                IsError("NO_CONFIG", "No configuration provided"));
  }
  EXPECT_THAT(callIdle("connect"), IsValue(true));
  EXPECT_EQ(*find(providerConfiguration(), "wgQuickConfig"), Value(padded));
  EXPECT_THAT(connectWith(dict({{"config", "no endpoint here"}})),
              IsError("INVALID_CONFIG", "WireGuard endpoint is missing"));
  EXPECT_THAT(callIdle("connect"),
              IsError("INVALID_CONFIG", "WireGuard endpoint is missing"));
}

TEST_F(TunnelTest, TheMatchingProfileIsUsedAndOthersAreLeftAlone) {
  sim::ProfileFields other;
  other.protocol = platform::TunnelProtocol{true, "com.other.vpn", "o:1", false,
                                            dict({{"k", "v"}})};
  other.description = "Other";
  mac.networkExtension.addSavedProfile(other);
  mac.networkExtension.addSavedProfile({});  // one without a protocol
  sim::ProfileFields ours;
  ours.protocol =
      platform::TunnelProtocol{true, kVpnProvider, "old:1", false, {}};
  int64_t oursId = mac.networkExtension.addSavedProfile(ours).id;

  EXPECT_THAT(connectWith({}), IsValue(true));
  auto& saved = mac.networkExtension.saved();
  ASSERT_EQ(saved.size(), 3u);
  EXPECT_EQ(saved[0].fields.description, "Other");
  EXPECT_EQ(saved[0].fields.protocol->serverAddress, "o:1");
  EXPECT_FALSE(saved[1].fields.protocol);
  EXPECT_EQ(savedVpn()->id, oursId);
  EXPECT_EQ(savedVpn()->fields.protocol->serverAddress,
            "vpn.example.com:51820");
}

// A text the parser refuses, and each failing step, answer their own error
// after the steps shown; until a save goes through, the saved profile keeps
// the on-demand connect of the first connect (a non-boolean reads as off).
TEST_F(TunnelTest, EachFailingStepAnswersItsOwnError) {
  const char* kSteps[] = {"ne.loadAll", "ne.save", "ne.reload", "ne.start"};
  // The operation that fails once (none for ""), the text, the error, and
  // how many steps were taken.
  const std::tuple<const char*, const char*, const char*, const char*, size_t>
      cases[] = {
          {"", "Endpoint = a:1\n", "INVALID_CONFIG",
           "The configuration has no [Interface] section.", 1},
          {"loadAll", kValidConfig, "LOAD_FAILED", "Failed to load VPN manager",
           1},
          {"save", kValidConfig, "SAVE_FAILED", "Disk full.", 2},
          {"reload", kValidConfig, "RELOAD_FAILED", "Disk full.", 3},
          {"start", kValidConfig, "START_FAILED", "Disk full.", 4},
      };
  EXPECT_THAT(connectWith(dict({{"enableOnDemand", true}})), IsValue(true));
  for (const auto& [operation, config, code, message, steps] : cases) {
    SCOPED_TRACE(config);
    mac.log.clear();
    mac.networkExtension.failures[operation] = {"Disk full.", 1};
    EXPECT_THAT(
        connectWith(dict({{"config", config}, {"enableOnDemand", "yes"}})),
        IsError(code, message));
    EXPECT_EQ(mac.log.names(),
              std::vector<std::string>(kSteps, kSteps + steps));
    EXPECT_EQ(savedVpn()->fields.onDemandEnabled, steps < 3);
    EXPECT_EQ(savedVpn()->fields.rules.size(), size_t{steps < 3});
  }
}

TEST_F(TunnelTest, PrepareAnswersWhetherTheLoadWorked) {
  EXPECT_THAT(callMain("prepare", dict({{"x", 1}})), IsUnanswered());
  runUntilIdle();
  mac.networkExtension.failures["loadAll"] = {"No.", 1};
  ReplyPtr failed = callMain("prepare");
  ReplyPtr worked = callMain("prepare");
  runUntilIdle();
  EXPECT_THAT(failed, IsValue(false));
  EXPECT_THAT(worked, IsValue(true));
  // One observer at a time, on the latest load.
  EXPECT_EQ(mac.networkExtension.observerCount(), 1u);
}

// Two connects overlap and the Mac finishes the second's save first: each
// call is answered when its own chain ends, with its own outcome, and the
// save that completes last is what stays saved.
class OverlappingConnectsTest : public TunnelTest,
                                public ::testing::WithParamInterface<bool> {};

TEST_P(OverlappingConnectsTest, EachChainAnswersItsOwnCall) {
  const bool firstSaveFails = GetParam();
  ASSERT_THAT(connectWith({}), IsValue(true));
  auto to = [](const char* endpoint) {
    std::string config = kValidConfig;
    config.replace(config.find("vpn.example.com:51820"), 21, endpoint);
    return dict({{"config", config}});
  };
  mac.holds.hold({"save"});
  ReplyPtr first = connectWith(to("first.example.com:1"));
  ReplyPtr second = connectWith(to("second.example.com:2"));
  const auto held = mac.holds.held();
  ASSERT_EQ(held.size(), 2u);
  mac.holds.release(held[1].id);
  runUntilIdle();
  EXPECT_THAT(first, IsUnanswered());
  EXPECT_THAT(second, IsValue(true));
  mac.holds.release(held[0].id, firstSaveFails
                                    ? std::optional<std::string>("Disk full.")
                                    : std::nullopt);
  runUntilIdle();
  EXPECT_THAT(first, firstSaveFails ? ::testing::Matcher<ReplyPtr>(
                                          IsError("SAVE_FAILED", "Disk full."))
                                    : IsValue(true));
  EXPECT_EQ(mac.networkExtension.saved().size(), 1u);
  EXPECT_EQ(savedVpn()->fields.protocol->serverAddress,
            firstSaveFails ? "second.example.com:2" : "first.example.com:1");
}

INSTANTIATE_TEST_SUITE_P(FirstSaveFails,
                         OverlappingConnectsTest,
                         ::testing::Bool());

}  // namespace
}  // namespace movaro::testing
