// "login": argument rules, the profile, the start and the wait.
#include "support/mesh_fixture.h"

namespace movaro::testing {
namespace {

using ::testing::ElementsAre;

TEST_F(MeshTest, LoginWritesTheProfileStartsAndAnswersWhenConnected) {
  mac.networkExtension.connectDelay = std::chrono::seconds(2);
  ReplyPtr reply = login();
  EXPECT_THAT(reply, IsUnanswered());
  EXPECT_THAT(mac.log.names(),
              ElementsAre("ne.loadAll", "ne.save", "ne.reload", "ne.start"));
  const auto& fields =
      mac.networkExtension.savedProfileFor(kMeshProvider)->fields;
  EXPECT_EQ(fields.description, "Halvorn Private Network");
  EXPECT_TRUE(fields.enabled);
  EXPECT_FALSE(fields.onDemandEnabled);
  EXPECT_TRUE(fields.rules.empty());
  EXPECT_EQ(fields.protocol->serverAddress, "Halvorn Private Network");
  EXPECT_FALSE(fields.protocol->includeAllNetworks);
  // The saved profile keeps the namespace and nothing else of the account.
  EXPECT_EQ(Value(*fields.protocol->providerConfiguration),
            Value(dict({{"accountNamespace", kNamespace}})));
  EXPECT_EQ(*find(mac.log.named("ne.start")[0].details, "options"),
            Value(dict({{"controlUrl", "https://control.example.com:8443/mesh"},
                        {"authKey", "tskey-auth-secret"},
                        {"hostname", "work-laptop"},
                        {"accountNamespace", kNamespace},
                        {"sessionExpiresAt", "2031-01-01T00:00:00Z"},
                        {"resume", false}})));
  advance(1.9);
  EXPECT_THAT(reply, IsUnanswered());
  advance(0.2);
  EXPECT_THAT(reply, IsValue(true));
  EXPECT_EQ(mac.dispatch.pendingCount(), 0u);
}

TEST_F(MeshTest, ArgumentRulesAtTheirBoundaries) {
  struct Case {
    const char* name;
    const char* key;
    Value value;
    bool accepted;
  };
  auto repeat = [](const char* text, int times) {
    std::string out;
    while (times-- > 0)
      out += text;
    return out;
  };
  const Case cases[] = {
      // Before any case moves the clock on from 2030-01-01T00:00:00Z.
      {"expiry now", "sessionExpiresAt", "2030-01-01T00:00:00Z", false},
      {"expiry after now", "sessionExpiresAt", "2030-01-01T00:00:00.001Z",
       true},
      {"namespace upper case", "accountNamespace", std::string(64, 'A'), false},
      {"namespace 63", "accountNamespace", std::string(63, 'b'), false},
      {"namespace 65", "accountNamespace", std::string(65, 'c'), false},
      {"namespace digits", "accountNamespace", std::string(64, '7'), true},
      {"namespace newline", "accountNamespace", std::string(64, 'a') + "\n",
       false},
      {"https port path", "controlUrl", "https://h.example:1/a/b", true},
      {"http", "controlUrl", "http://h.example", false},
      {"query", "controlUrl", "https://h.example/?q=1", false},
      {"fragment", "controlUrl", "https://h.example/#f", false},
      {"user", "controlUrl", "https://u@h.example", false},
      {"password", "controlUrl", "https://u:p@h.example", false},
      {"no host", "controlUrl", "https:///path", false},
      {"url not a string", "controlUrl", 5, false},
      {"key 4096", "authKey", std::string(4096, 'k'), true},
      {"key 4097", "authKey", std::string(4097, 'k'), false},
      {"key 4096 bytes of two-byte letters", "authKey",
       std::string(2048, 'x') + repeat("\u00e9", 1024), true},
      {"key 4098 bytes", "authKey", repeat("\u00e9", 2049), false},
      {"key empty", "authKey", "", false},
      {"host 63", "hostname", std::string(63, 'h'), true},
      {"host 64", "hostname", std::string(64, 'h'), false},
      {"host hyphen first", "hostname", "-laptop", false},
      {"host hyphen inside", "hostname", "a-b-9", true},
      {"host dot", "hostname", "a.b", false},
      {"expiry fraction", "sessionExpiresAt", "2031-01-01T00:00:00.250Z", true},
      {"expiry offset", "sessionExpiresAt", "2031-01-01T02:00:00+02:00", true},
      {"expiry no zone", "sessionExpiresAt", "2031-01-01T00:00:00", false},
      {"expiry past", "sessionExpiresAt", "2029-12-31T23:59:59Z", false},
      {"expiry garbage", "sessionExpiresAt", "tomorrow", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ValueMap args = validLogin();
    args[Value(c.key)] = c.value;
    ReplyPtr reply = login(args);
    if (c.accepted) {
      EXPECT_FALSE(reply->error()) << reply->error()->code;
      ask("down");
      advance(2);
    } else {
      EXPECT_THAT(reply, IsMeshError("invalid_request"));
    }
  }
}

TEST_F(MeshTest, ResumeAllowsAnEmptyKey) {
  ValueMap args = validLogin();
  args.erase(Value("authKey"));
  EXPECT_THAT(login(args), IsMeshError("invalid_request"));
  args[Value("resume")] = true;
  ReplyPtr reply = login(args);
  advance(2);
  EXPECT_THAT(reply, IsValue(true));
  const Value options = *find(mac.log.named("ne.start")[0].details, "options");
  EXPECT_EQ(*find(*options.getIf<ValueMap>(), "authKey"), Value(""));
  EXPECT_EQ(*find(*options.getIf<ValueMap>(), "resume"), Value(true));
}

TEST_F(MeshTest, WithoutTheEngineLoginIsRefused) {
  mac.fileManager.virtualBundles.clear();
  EXPECT_THAT(login(), IsMeshError("runtime_missing"));
  mac.installExtension(".mesh-extension",
                       dict({{"HalvornEngineAvailable", 1}}));
  EXPECT_THAT(login(), IsMeshError("runtime_missing"));
  EXPECT_TRUE(mac.log.calls().empty());
}

TEST_F(MeshTest, ASecondLoginWhileTheFirstWaitsIsBusy) {
  mac.networkExtension.connectDelay = std::chrono::seconds(3);
  ReplyPtr first = login();
  EXPECT_THAT(login(), IsMeshError("connection_failed"));
  advance(3);
  EXPECT_THAT(first, IsValue(true));
}

TEST_F(MeshTest, ATunnelThatNeverConnectsTimesOutAfterFortySeconds) {
  mac.networkExtension.connectDelay.reset();
  ReplyPtr reply = login();
  advance(39.9);
  EXPECT_THAT(reply, IsUnanswered());
  advance(0.1);
  EXPECT_THAT(reply, IsMeshError("connection_timeout"));
  EXPECT_EQ(mac.log.named("ne.stop").size(), 1u);
  ValueMap expected = emptyStatus("error");
  expected[Value("errorCode")] = "connection_timeout";
  EXPECT_THAT(ask("status"), IsValue(expected));
}

TEST_F(MeshTest, DownDuringTheWaitCancelsTheLogin) {
  mac.networkExtension.connectDelay.reset();
  ReplyPtr reply = login();
  advance(5);
  ReplyPtr down = ask("down");
  advance(0.1);
  EXPECT_THAT(reply, IsMeshError("connection_failed"));
  EXPECT_THAT(down, IsUnanswered());
  advance(1);  // the stop completes
  EXPECT_THAT(down, IsValue(true));
}

// "down" or "logout" while the Mac has still to answer a login's profile
// load, save or reload: once it answers, the login ends canceled, and no
// tunnel is started with its account.
class SupersededLoginTest : public MeshTest,
                            public ::testing::WithParamInterface<
                                std::tuple<const char*, const char*>> {};

TEST_P(SupersededLoginTest, StartsNoTunnel) {
  const auto& [operation, method] = GetParam();
  answer("status", R"({"identityCleared":true})");
  mac.holds.hold({operation});
  ReplyPtr loginReply = login();
  ASSERT_NE(heldId(operation), 0);
  ReplyPtr superseding = callMesh(method);
  releaseAll();
  advance(20);
  EXPECT_THAT(loginReply, IsMeshError("connection_failed"));
  EXPECT_THAT(superseding, IsValue(true));
  // Superseded before its save, nothing is written.
  EXPECT_EQ(mac.log.named("ne.save").size(),
            std::string(operation) == "loadAll" ? 0u : 1u);
  for (const sim::OsCall& start : mac.log.named("ne.start")) {
    EXPECT_EQ(
        find(*find(start.details, "options")->getIf<ValueMap>(), "authKey"),
        nullptr);
  }
}

INSTANTIATE_TEST_SUITE_P(
    EveryWait,
    SupersededLoginTest,
    ::testing::Combine(::testing::Values("loadAll", "save", "reload"),
                       ::testing::Values("down", "logout")),
    [](const auto& test) {
      return std::string(std::get<1>(test.param)) + "_" +
             std::get<0>(test.param);
    });

TEST_F(MeshTest, AProviderThatDropsTheTunnelGivesItsReason) {
  mac.networkExtension.connectDelay.reset();
  mac.networkExtension.dropDelay = std::chrono::seconds(3);
  mac.networkExtension.dropError =
      platform::PlatformError{"HalvornMesh", 2, "No identity.", {}};
  ReplyPtr reply = login();
  advance(3.1);
  EXPECT_THAT(reply, IsMeshError("identity_missing"));
  // Stored as the failure, and the plugin is free for the next login.
  EXPECT_EQ(*find(*ask("status")->value().getIf<ValueMap>(), "errorCode"),
            Value("identity_missing"));
  mac.networkExtension.dropDelay.reset();
  mac.networkExtension.connectDelay = std::chrono::seconds(1);
  ReplyPtr again = login();
  advance(1);
  EXPECT_THAT(again, IsValue(true));
}

}  // namespace
}  // namespace movaro::testing
