// "capabilities", "status" and the error codes.
#include "mesh/desktop_mesh_plugin.h"
#include "support/mesh_fixture.h"

namespace movaro::testing {
namespace {

Value disconnected() {
  return dict({{"state", "disconnected"},
               {"selfName", ""},
               {"selfAddresses", ValueList{}},
               {"peers", ValueList{}}});
}

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
    EXPECT_EQ(DesktopMeshPlugin::safeCode(failure), code) << failure;
    // A public code maps to itself.
    EXPECT_EQ(DesktopMeshPlugin::safeCode(code), code);
    PluginError error = DesktopMeshPlugin::error(failure);
    EXPECT_EQ(error.code, code);
    EXPECT_EQ(error.message, kMeshMessage);
  }
}

TEST(MeshCodesTest, DisconnectReasons) {
  using platform::PlatformError;
  EXPECT_EQ(DesktopMeshPlugin::disconnectCode({"HalvornMesh", 2, "", {}}),
            "identity_missing");
  EXPECT_EQ(
      DesktopMeshPlugin::disconnectCode(
          {"HalvornMesh", 7, "", dict({{"errorCode", "session_expired"}})}),
      "session_expired");
  EXPECT_EQ(DesktopMeshPlugin::disconnectCode(
                {"HalvornMesh", 7, "", dict({{"errorCode", "MESH_BUSY"}})}),
            "connection_failed");
  EXPECT_EQ(DesktopMeshPlugin::disconnectCode(
                {"HalvornMesh", 7, "", dict({{"errorCode", 3}})}),
            "connection_failed");
  EXPECT_EQ(DesktopMeshPlugin::disconnectCode({"NEVPNErrorDomain", 2, "", {}}),
            "connection_failed");
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
  ReplyPtr reply = callMesh("status");
  runUntilIdle();
  EXPECT_THAT(reply, IsValue(disconnected()));
  mac.networkExtension.failures["loadAll"] = {"No.", 1};
  reply = callMesh("status");
  runUntilIdle();
  EXPECT_THAT(reply, IsMeshError("engine_failed"));
}

TEST_F(MeshTest, StatusWhileConnectedIsTheProvidersFilteredReply) {
  addMeshProfile(platform::kVpnStatusConnected);
  answer("status",
         R"({"state":"running","peers":[{"name":"a"}],"secret":"x"})");
  ReplyPtr reply = callMesh("status");
  runUntilIdle();
  EXPECT_THAT(reply,
              IsValue(dict({{"state", "running"},
                            {"peers", ValueList{dict({{"name", "a"}})}}})));
  EXPECT_EQ(
      *find(mac.log.named("ne.sendProviderMessage")[0].details, "message"),
      Value(R"({"command":"status"})"));
  // Only unknown keys: an empty dictionary, sent as it is.
  answer("status", R"({"other":1})");
  reply = callMesh("status");
  runUntilIdle();
  EXPECT_THAT(reply, IsValue(ValueMap{}));
  // No usable reply: the disconnected form.
  answer("status", "[1,2]");
  reply = callMesh("status");
  runUntilIdle();
  EXPECT_THAT(reply, IsValue(disconnected()));
}

TEST_F(MeshTest, StatusWhileConnectingShowsTheExpiryTextAsSent) {
  mac.networkExtension.connectDelay.reset();
  ValueMap args = validLogin();
  args[Value("sessionExpiresAt")] = "2031-01-01T02:00:00+02:00";
  login(args);
  ReplyPtr reply = callMesh("status");
  runUntilIdle();
  EXPECT_THAT(
      reply,
      IsValue(dict({{"state", "connecting"},
                    {"selfName", ""},
                    {"selfAddresses", ValueList{}},
                    {"peers", ValueList{}},
                    {"sessionExpiresAt", "2031-01-01T02:00:00+02:00"}})));
}

TEST_F(MeshTest, StatusAsksWhyTheTunnelWentDownUnlessStoppedOnPurpose) {
  login();
  advance(1);
  mac.networkExtension.savedProfileFor(kMeshProvider)
      ->connection->lastDisconnectError = platform::PlatformError{
      "HalvornMesh", 9, "", dict({{"errorCode", "session_expired"}})};
  setMeshStatus(platform::kVpnStatusDisconnected);
  ReplyPtr reply = callMesh("status");
  runUntilIdle();
  ValueMap expected = *disconnected().getIf<ValueMap>();
  expected[Value("state")] = "error";
  expected[Value("errorCode")] = "session_expired";
  EXPECT_THAT(reply, IsValue(expected));

  // After "down" nothing is asked and the plain form comes back.
  callMesh("down");
  runUntilIdle();
  mac.log.clear();
  reply = callMesh("status");
  runUntilIdle();
  EXPECT_THAT(reply, IsValue(disconnected()));
  EXPECT_TRUE(mac.log.named("ne.fetchLastDisconnectError").empty());
}

TEST_F(MeshTest, TheMeshProfileIsFoundWhateverTheOrder) {
  sim::ProfileFields vpn;
  vpn.protocol = platform::TunnelProtocol{
      true, "com.quillfen.movaro.macos.network-extension", "v:1", false, {}};
  mac.networkExtension.addSavedProfile(vpn).connection->setStatus(3);
  addMeshProfile(platform::kVpnStatusConnecting);
  ReplyPtr reply = callMesh("status");
  runUntilIdle();
  EXPECT_EQ(*find(*reply->value().getIf<ValueMap>(), "state"),
            Value("connecting"));
}

}  // namespace
}  // namespace movaro::testing
