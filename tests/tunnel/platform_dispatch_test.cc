// The main channel's dispatcher and the methods it answers at once.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

#include "mesh/desktop_mesh_plugin.h"
#include "platform/wireguard/x25519_keys.h"
#include "support/matchers.h"

namespace movaro::testing {
namespace {

class PlatformDispatchTest : public ::testing::Test, public PluginHarness {};

TEST_F(PlatformDispatchTest, UnknownNamesAreNotImplementedOnBothChannels) {
  for (const char* name :
       {"GetPlatformVersion", "getplatformversion", "pushconfig", "nope", ""}) {
    EXPECT_THAT(callMain(name), IsNotImplemented()) << name;
  }
  for (const char* name : {"Status", "LOGIN", "unknown"}) {
    EXPECT_THAT(callMesh(name), IsNotImplemented()) << name;
  }
}

TEST_F(PlatformDispatchTest, PushConfigRefusesBlankTextAndKeepsTheEarlierOne) {
  const std::string padded = "  [Interface]\nPrivateKey = x\n  ";
  EXPECT_THAT(callMain("pushConfig", dict({{"config", padded}})),
              IsValue(true));
  const Value refused[] = {dict({{"config", " \n\t\r\n "}}),
                           dict({{"config", 5}}), dict({}),
                           Value("[Interface]")};
  for (const Value& args : refused) {
    EXPECT_THAT(callMain("pushConfig", args),
                IsError("NO_CONFIG", "No configuration provided"));
  }
  // Unicode white space counts as blank too.
  EXPECT_THAT(callMain("pushConfig", dict({{"config", "\u2028\u00a0"}})),
              IsError("NO_CONFIG", "No configuration provided"));
}

TEST_F(PlatformDispatchTest, ConnectWithoutUsableConfigAndNothingCached) {
  for (const Value& args :
       std::vector<Value>{Value(), dict({{"config", 5}}), dict({}),
                          Value(ValueList{"config"})}) {
    EXPECT_THAT(callMain("connect", args),
                IsError("NO_CONFIG", "No configuration provided"));
  }
  EXPECT_TRUE(mac.systemExtensions.submitted().empty());
}

TEST_F(PlatformDispatchTest, SetProtectionVerifiedAnswersTrueWhateverItGets) {
  for (const Value& args :
       std::vector<Value>{Value(), dict({{"x", 1}}), Value("y")}) {
    EXPECT_THAT(callMain("setProtectionVerified", args), IsValue(true));
  }
  EXPECT_TRUE(mac.log.calls().empty());
}

TEST_F(PlatformDispatchTest, PlatformVersionIsMacOsAndTheSystemsWording) {
  mac.system.versionString = "Version 13.6.1 (Build 22G313)";
  EXPECT_THAT(callMain("getPlatformVersion"),
              IsValue("macOS Version 13.6.1 (Build 22G313)"));
}

TEST_F(PlatformDispatchTest, AppInfoGivesFourStringsEmptyWhereMissing) {
  EXPECT_THAT(callMain("getAppInfo"),
              IsValue(dict({{"platform", "macos"},
                            {"version", "1.4.2"},
                            {"buildNumber", "142"},
                            {"packageName", "com.quillfen.movaro.macos"}})));
  mac.mainBundle.contents.identifier.reset();
  mac.mainBundle.contents.info =
      dict({{"CFBundleShortVersionString", 2}, {"CFBundleVersion", Value()}});
  EXPECT_THAT(callMain("getAppInfo"), IsValue(dict({{"platform", "macos"},
                                                    {"version", ""},
                                                    {"buildNumber", ""},
                                                    {"packageName", ""}})));
}

TEST_F(PlatformDispatchTest, OpenVpnSettingsOpensTheVpnPane) {
  EXPECT_THAT(callMain("openVpnSettings", dict({{"x", 1}})), IsValue(true));
  EXPECT_EQ(mac.workspace.opened,
            std::vector<std::string>{
                "x-apple.systempreferences:com.apple.Network-Settings."
                "extension?VPN"});
}

TEST_F(PlatformDispatchTest, DesktopStartupSettingsPaneDependsOnTheSystem) {
  EXPECT_THAT(callMain("openDesktopStartupSettings"), IsValue(Value()));
  EXPECT_EQ(mac.log.names(),
            std::vector<std::string>{"sm.openSystemSettingsLoginItems"});
  EXPECT_TRUE(mac.workspace.opened.empty());

  mac.log.clear();
  mac.system.version = {12, 7, 0};
  EXPECT_THAT(callMain("openDesktopStartupSettings"), IsValue(Value()));
  EXPECT_EQ(mac.workspace.opened,
            std::vector<std::string>{
                "x-apple.systempreferences:com.apple.preferences.users"});
  EXPECT_EQ(mac.log.names(), std::vector<std::string>{"workspace.open"});
}

TEST_F(PlatformDispatchTest, GenerateKeyPairGivesAFreshMatchingPairEachCall) {
  Value first = callMain("generateKeyPair")->value();
  Value second = callMain("generateKeyPair")->value();
  const ValueMap& pair = *first.getIf<ValueMap>();
  const std::string privateKey =
      *find(pair, "privateKey")->getIf<std::string>();
  const std::string publicKey = *find(pair, "publicKey")->getIf<std::string>();
  EXPECT_EQ(privateKey.size(), 44u);
  EXPECT_EQ(publicKey.size(), 44u);
  EXPECT_NE(privateKey, publicKey);
  EXPECT_NE(first, second);
  EXPECT_EQ(pair.size(), 2u);
  // Nothing of the key is kept or written anywhere.
  EXPECT_TRUE(mac.log.calls().empty());
  EXPECT_TRUE(mac.defaults.values.empty());
}

// A random source that fails, and one that throws (a service breaking the
// seam's contract): one error reply each, nothing kept.
TEST_F(PlatformDispatchTest, KeySourceFailuresGiveOneErrorReply) {
  using Source = sim::SimKeys::Source;
  const struct {
    Source source;
    const char* code;
    const char* message;
  } cases[] = {
      {Source::kFailing, "KEY_GENERATION_FAILED",
       "A WireGuard key pair could not be generated."},
      {Source::kThrowing, "INTERNAL_ERROR",
       "The platform layer could not complete the call."},
  };
  for (const auto& c : cases) {
    mac.keys.source = c.source;
    ReplyPtr reply = callMain("generateKeyPair");
    EXPECT_THAT(reply, IsError(c.code, c.message));
    EXPECT_EQ(reply->count, 1);
  }
  EXPECT_TRUE(mac.log.calls().empty());
  // The mesh channel's answer to a throw keeps to its public codes.
  EXPECT_EQ(DesktopMeshPlugin::create(mac.services())->internalError().code,
            "engine_failed");
}

TEST_F(PlatformDispatchTest, MeshChannelReachesItsOwnPlugin) {
  // The configuration pushed on the main channel is seen by its connect...
  EXPECT_THAT(callMain("pushConfig", dict({{"config", "[Interface]"}})),
              IsValue(true));
  // ...while an unknown mesh method never touches it.
  EXPECT_THAT(callMesh("pushConfig", dict({{"config", "x"}})),
              IsNotImplemented());
}

}  // namespace
}  // namespace movaro::testing
