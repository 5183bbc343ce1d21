// "capabilities", "status" and the error codes.
#include "mesh/desktop_mesh_plugin.h"
#include "support/mesh_fixture.h"

namespace movaro::testing {
namespace {

TEST(MeshCodesTest, EveryFailureMapsToOneOfNinePublicCodes) {
  const std::pair<const char*, const char*> cases[] = {
      {"MESH_ENGINE_UNAVAILABLE", "runtime_missing"},
      {"MESH_PERMISSION_REQUIRED", "permission_denied"},
      {"MESH_INVALID_REQUEST", "invalid_request"},
      {"MESH_IDENTITY_CLEAR_FAILED", "cleanup_failed"},
      {"MESH_START_FAILED", "connection_failed"},
      {"MESH_CANCELED", "connection_failed"},
      {"MESH_BUSY", "connection_failed"},
      {"MESH_SETTINGS_FAILED", "engine_failed"},
      {"", "engine_failed"},
      {"mesh_busy", "engine_failed"},
      {"session_expired", "session_expired"},
      {"identity_missing", "identity_missing"},
  };
  for (const auto& [failure, code] : cases) {
    PluginError error = DesktopMeshPlugin::error(failure);
    EXPECT_EQ(error.code, code) << failure;
    EXPECT_EQ(error.message, kMeshMessage);
    // A public code maps to itself.
    EXPECT_EQ(DesktopMeshPlugin::safeCode(code), code);
  }
}

// Why the provider took the tunnel down, as a public code.
TEST(MeshCodesTest, DisconnectReasons) {
  const std::pair<platform::PlatformError, const char*> cases[] = {
      {{"HalvornMesh", 2, "", {}}, "identity_missing"},
      {{"HalvornMesh", 7, "", dict({{"errorCode", "session_expired"}})},
       "session_expired"},
      {{"HalvornMesh", 7, "", dict({{"errorCode", "MESH_BUSY"}})},
       "connection_failed"},
      {{"HalvornMesh", 7, "", dict({{"errorCode", 3}})}, "connection_failed"},
      {{"NEVPNErrorDomain", 2, "", {}}, "connection_failed"},
  };
  for (const auto& [reason, code] : cases) {
    EXPECT_EQ(DesktopMeshPlugin::disconnectCode(reason), code) << code;
  }
}

TEST_F(MeshTest, CapabilitiesFollowTheSystemAndTheEngine) {
  EXPECT_THAT(callMesh("capabilities"),
              IsValue(dict({{"available", true}, {"reasonCode", "ready"}})));
  mac.installExtension(".mesh-extension",
                       dict({{"HalvornEngineAvailable", 1}}));
  EXPECT_THAT(
      callMesh("capabilities"),
      IsValue(dict({{"available", false}, {"reasonCode", "runtime_missing"}})));
  mac.system.version = {12, 6, 0};
  EXPECT_THAT(callMesh("capabilities"),
              IsValue(dict({{"available", false},
                            {"reasonCode", "requires_macos_13"}})));
}

TEST_F(MeshTest, StatusBeforeAnyLoginIsTheFourKeyDisconnectedForm) {
  EXPECT_THAT(ask("status"), IsValue(emptyStatus()));
  mac.networkExtension.failures["loadAll"] = {"No.", 1};
  EXPECT_THAT(ask("status"), IsMeshError("engine_failed"));
}

TEST_F(MeshTest, StatusWhileConnectedIsTheProvidersFilteredReply) {
  addMeshProfile(platform::kVpnStatusConnected);
  answer("status",
         R"({"state":"running","peers":[{"name":"a"}],"secret":"x"})");
  EXPECT_THAT(ask("status"),
              IsValue(dict({{"state", "running"},
                            {"peers", ValueList{dict({{"name", "a"}})}}})));
  EXPECT_EQ(
      *find(mac.log.named("ne.sendProviderMessage")[0].details, "message"),
      Value(R"({"command":"status"})"));
  // Only unknown keys: an empty dictionary, sent as it is.
  answer("status", R"({"other":1})");
  EXPECT_THAT(ask("status"), IsValue(ValueMap{}));
}

TEST_F(MeshTest, StatusWhileConnectingShowsTheExpiryTextAsSent) {
  mac.networkExtension.connectDelay.reset();
  ValueMap args = validLogin();
  args[Value("sessionExpiresAt")] = "2031-01-01T02:00:00+02:00";
  login(args);
  ValueMap expected = emptyStatus("connecting");
  expected[Value("sessionExpiresAt")] = "2031-01-01T02:00:00+02:00";
  EXPECT_THAT(ask("status"), IsValue(expected));
}

TEST_F(MeshTest, StatusAsksWhyTheTunnelWentDownUnlessStoppedOnPurpose) {
  login();
  advance(1);
  auto& connection =
      *mac.networkExtension.savedProfileFor(kMeshProvider)->connection;
  connection.lastDisconnectError = platform::PlatformError{
      "HalvornMesh", 9, "", dict({{"errorCode", "session_expired"}})};
  connection.setStatus(platform::kVpnStatusDisconnected);
  ValueMap expected = emptyStatus("error");
  expected[Value("errorCode")] = "session_expired";
  EXPECT_THAT(ask("status"), IsValue(expected));

  // After "down" nothing is asked and the plain form comes back.
  ask("down");
  mac.log.clear();
  EXPECT_THAT(ask("status"), IsValue(emptyStatus()));
  EXPECT_TRUE(mac.log.named("ne.fetchLastDisconnectError").empty());
}

TEST_F(MeshTest, TheMeshProfileIsFoundWhateverTheOrder) {
  sim::ProfileFields vpn;
  vpn.protocol = platform::TunnelProtocol{
      true, "com.quillfen.movaro.macos.network-extension", "v:1", false, {}};
  mac.networkExtension.addSavedProfile(vpn).connection->setStatus(3);
  addMeshProfile(platform::kVpnStatusConnecting);
  EXPECT_THAT(ask("status"), IsValue(emptyStatus("connecting")));
}

}  // namespace
}  // namespace movaro::testing
