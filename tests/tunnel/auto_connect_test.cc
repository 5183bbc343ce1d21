// Auto-connect, the policy and the Wi-Fi name.
#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

using ::testing::ElementsAre;

class AutoConnectTest : public TunnelTest {
 protected:
  ReplyPtr configure(const Value& args) {
    return callIdle("configureAutoConnect", args);
  }
  Value policy() { return callIdle("getAutoConnectPolicy")->value(); }
};

TEST_F(AutoConnectTest, EnablingAndDisablingRewriteTheSavedProfile) {
  EXPECT_THAT(connectWith({}), IsValue(true));
  EXPECT_THAT(
      configure(dict({{"enabled", true},
                      {"trustedWifiSsids", ValueList{"Office", " Home"}}})),
      IsValue(true));
  const auto& fields = savedVpn()->fields;
  EXPECT_TRUE(fields.onDemandEnabled);
  ASSERT_EQ(fields.rules.size(), 2u);
  EXPECT_THAT(fields.rules[0].ssidMatch, ElementsAre("Home", "Office"));
  EXPECT_EQ(*find(providerConfiguration(), "trustedWifiSsids"),
            Value(ValueList{"Home", "Office"}));
  // The other entries stay.
  EXPECT_EQ(*find(providerConfiguration(), "wgQuickConfig"),
            Value(kValidConfig));
  EXPECT_EQ(policy(),
            Value(dict({{"enabled", true},
                        {"trustedWifiSsids", ValueList{"Home", "Office"}},
                        {"hasCachedConfig", true}})));

  // Disabling clears the rules but still replaces the list.
  EXPECT_THAT(configure(dict({{"enabled", false},
                              {"trustedWifiSsids", ValueList{"Cafe"}}})),
              IsValue(true));
  EXPECT_FALSE(savedVpn()->fields.onDemandEnabled);
  EXPECT_TRUE(savedVpn()->fields.rules.empty());
  EXPECT_EQ(*find(providerConfiguration(), "trustedWifiSsids"),
            Value(ValueList{"Cafe"}));
  // No reload and no start follow.
  EXPECT_EQ(mac.log.named("ne.reload").size(), 1u);
  EXPECT_EQ(mac.log.named("ne.start").size(), 1u);

  mac.networkExtension.failures["save"] = {"Locked.", 1};
  EXPECT_THAT(configure(dict({{"enabled", true}})),
              IsError("SAVE_FAILED", "Locked."));
  mac.networkExtension.failures["loadAll"] = {"No.", 1};
  EXPECT_THAT(callIdle("getAutoConnectPolicy"),
              IsError("LOAD_FAILED", "Unable to load VPN settings"));
}

// The list is stored first, whatever happens to the profile.
TEST_F(AutoConnectTest, EnablingBeforeAnyConnectOrAfterAFailedLoad) {
  EXPECT_THAT(
      configure(dict({{"enabled", true}, {"trustedWifiSsids", "Home"}})),
      IsError("NO_CONFIG", "No configuration provided"));
  EXPECT_TRUE(mac.networkExtension.saved().empty());
  EXPECT_EQ(*find(mac.defaults.values, "HalvornTrustedWifiSsids"),
            Value(ValueList{}));
  EXPECT_EQ(policy(), Value(dict({{"enabled", false},
                                  {"trustedWifiSsids", ValueList{}},
                                  {"hasCachedConfig", false}})));
  mac.networkExtension.failures["loadAll"] = {"No.", 1};
  EXPECT_THAT(
      configure(dict({{"enabled", true},
                      {"trustedWifiSsids", ValueList{"Home", "Home"}}})),
      IsError("LOAD_FAILED", "Unable to load VPN settings"));
  EXPECT_EQ(*find(mac.defaults.values, "HalvornTrustedWifiSsids"),
            Value(ValueList{"Home"}));
  EXPECT_EQ(*find(*policy().getIf<ValueMap>(), "trustedWifiSsids"),
            Value(ValueList{"Home"}));
}

using WifiTest = TunnelTest;

// From macOS 14 the name is readable only with location access.
TEST_F(WifiTest, ANameReadableAtOnceOrAfterTheUsersDecision) {
  mac.wifi.ssid = "Home";
  mac.location.status = platform::kLocationAuthorizedAlways;
  EXPECT_THAT(callIdle("getCurrentWifiSsid"), IsValue("Home"));
  mac.location.status = platform::kLocationNotDetermined;
  mac.system.version.major = 13;
  EXPECT_THAT(callIdle("getCurrentWifiSsid"), IsValue("Home"));
  EXPECT_TRUE(mac.log.calls().empty());
  // The first request without it waits for the user's decision.
  mac.system.version.major = 14;
  ReplyPtr first = callIdle("getCurrentWifiSsid");
  EXPECT_THAT(first, IsUnanswered());
  EXPECT_THAT(callIdle("getCurrentWifiSsid"),
              IsError("LOCATION_AUTH_IN_PROGRESS",
                      "Wi-Fi authorization is already in progress"));
  EXPECT_EQ(mac.log.named("location.requestWhenInUse").size(), 1u);
  mac.wifi.ssid = "";
  mac.location.decide(platform::kLocationAuthorizedAlways);
  runUntilIdle();
  // An empty name is a name once the user has decided.
  EXPECT_THAT(first, IsValue(""));
}

// Any decision but "always" answers null, and so does "always" with no
// Wi-Fi interface left; once decided, requests are answered at once.
TEST_F(WifiTest, OtherDecisionsOrNoInterfaceAnswerNull) {
  const std::pair<int, bool> rows[] = {
      {platform::kLocationDenied, true},
      {platform::kLocationRestricted, true},
      {platform::kLocationAuthorizedWhenInUse, true},
      {platform::kLocationAuthorizedAlways, false},
  };
  for (const auto& [decision, hasInterface] : rows) {
    mac.location.status = platform::kLocationNotDetermined;
    mac.wifi.ssid = "Home";
    mac.wifi.hasInterface = false;
    ReplyPtr waiting = callIdle("getCurrentWifiSsid");
    mac.wifi.hasInterface = hasInterface;
    mac.location.decide(decision);
    runUntilIdle();
    EXPECT_THAT(waiting, IsValue(Value())) << decision;
    mac.wifi.ssid.reset();
    EXPECT_THAT(callIdle("getCurrentWifiSsid"), IsValue(Value()));
  }
}

}  // namespace
}  // namespace movaro::testing
