// The main channel's dispatcher and the methods it answers at once.
#include "mesh/desktop_mesh_plugin.h"
#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

using ::testing::ElementsAre;
using PlatformDispatchTest = TunnelTest;

TEST_F(PlatformDispatchTest, UnknownNamesAreNotImplementedOnBothChannels) {
  for (const char* name :
       {"GetPlatformVersion", "getplatformversion", "pushconfig", "nope", ""}) {
    EXPECT_TRUE(callMain(name)->notImplemented()) << name;
  }
  // A main-channel method is unknown to the mesh channel.
  for (const char* name : {"Status", "LOGIN", "unknown", "pushConfig"}) {
    EXPECT_TRUE(callMesh(name, dict({{"config", "x"}}))->notImplemented())
        << name;
  }
}

// Answered at once, whatever the arguments.
TEST_F(PlatformDispatchTest, AtOnceMethods) {
  mac.system.versionString = "Version 13.6.1 (Build 22G313)";
  const std::tuple<const char*, Value, Value> rows[] = {
      {"setProtectionVerified", Value(), true},
      {"setProtectionVerified", dict({{"x", 1}}), true},
      {"setProtectionVerified", "y", true},
      {"getPlatformVersion", Value(), "macOS Version 13.6.1 (Build 22G313)"},
      {"openVpnSettings", dict({{"x", 1}}), true},
      {"getAppInfo", Value(),
       dict({{"platform", "macos"},
             {"version", "1.4.2"},
             {"buildNumber", "142"},
             {"packageName", "com.quillfen.movaro.macos"}})},
  };
  for (const auto& [method, args, reply] : rows) {
    EXPECT_THAT(callMain(method, args), IsValue(reply));
  }
  EXPECT_THAT(mac.log.names(), ElementsAre("workspace.open"));
  EXPECT_THAT(mac.workspace.opened,
              ElementsAre("x-apple.systempreferences:com.apple.Network-"
                          "Settings.extension?VPN"));
}

TEST_F(PlatformDispatchTest, AppInfoGivesEmptyStringsWhereMissing) {
  mac.mainBundle.contents.identifier.reset();
  mac.mainBundle.contents.info =
      dict({{"CFBundleShortVersionString", 2}, {"CFBundleVersion", Value()}});
  EXPECT_THAT(callMain("getAppInfo"), IsValue(dict({{"platform", "macos"},
                                                    {"version", ""},
                                                    {"buildNumber", ""},
                                                    {"packageName", ""}})));
}

TEST_F(PlatformDispatchTest, GenerateKeyPairGivesAFreshPairOrOneError) {
  Value first = callMain("generateKeyPair")->value();
  Value second = callMain("generateKeyPair")->value();
  const ValueMap& pair = *first.getIf<ValueMap>();
  const Value privateKey = *find(pair, "privateKey");
  const Value publicKey = *find(pair, "publicKey");
  EXPECT_EQ(privateKey.getIf<std::string>()->size(), 44u);
  EXPECT_EQ(publicKey.getIf<std::string>()->size(), 44u);
  EXPECT_NE(privateKey, publicKey);
  EXPECT_NE(first, second);
  EXPECT_EQ(pair.size(), 2u);

  // A random source that fails, and one that throws (a service breaking the
  // seam's contract): one error reply each.
  using Source = sim::SimKeys::Source;
  const std::tuple<Source, const char*, const char*> cases[] = {
      {Source::kFailing, "KEY_GENERATION_FAILED",
       "A WireGuard key pair could not be generated."},
      {Source::kThrowing, "INTERNAL_ERROR",
       "The platform layer could not complete the call."},
  };
  for (const auto& [source, code, message] : cases) {
    mac.keys.source = source;
    EXPECT_THAT(callMain("generateKeyPair"), IsError(code, message));
  }
  // Nothing of the key is kept or written anywhere.
  EXPECT_TRUE(mac.log.calls().empty());
  EXPECT_TRUE(mac.defaults.values.empty());
  // The mesh channel's answer to a throw keeps to its public codes.
  EXPECT_EQ(DesktopMeshPlugin::create(mac.services())->internalError().code,
            "engine_failed");
}

}  // namespace
}  // namespace movaro::testing
