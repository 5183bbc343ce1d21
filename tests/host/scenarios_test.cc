// Whole scenarios through the host's JSON lines, as a script would run them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/host.h"

namespace movaro::host {
namespace {

class ScenarioTest : public ::testing::Test {
 protected:
  // Sends the lines and returns everything written in answer.
  std::vector<Json> run(const std::vector<std::string>& lines) {
    std::vector<Json> out;
    Host host([&out](const Json& line) { out.push_back(line); });
    for (const std::string& line : lines) {
      host.handleLine(line);
    }
    return out;
  }
  static const Json* reply(const std::vector<Json>& out, int id) {
    for (const Json& line : out) {
      if (line.contains("id") && line["id"] == id) {
        return &line;
      }
    }
    return nullptr;
  }
  static std::vector<std::string> states(const std::vector<Json>& out) {
    std::vector<std::string> result;
    for (const Json& line : out) {
      if (line.contains("event")) {
        result.push_back(line["event"]["state"].get<std::string>());
      }
    }
    return result;
  }
};

constexpr const char* kConfig =
    R"("[Interface]\nPrivateKey = yAnz5TF+lXXJte14tji3zlMNq+hd2rYUIgJBgB3fBmk=\nAddress = 10.0.0.2/32\n[Peer]\nPublicKey = xTIBA5rboUvnH4htodjb6e697QjLERt1NAB4mZqp8Dg=\nAllowedIPs = 0.0.0.0/0\nEndpoint = vpn.example.com:51820")";

TEST_F(ScenarioTest, ConnectWithApprovalWatchAndDisconnect) {
  std::string connect =
      std::string(
          R"({"id":3,"channel":"movaro_platform","method":"connect","arguments":{"config":)") +
      kConfig + R"(,"sessionEndsAtEpochMilliseconds":1900000000000}})";
  std::string again =
      R"({"id":6,"channel":"movaro_platform","method":"connect"})";
  auto out = run({
      R"({"id":1,"sim":"installExtension","suffix":".network-extension"})",
      R"({"id":2,"sim":"tunnelBehaviour","connectDelay":null,"stopDelay":null})",
      connect,
      R"({"id":4,"sim":"answerExtension","outcome":"needsApproval"})",
      R"({"id":5,"sim":"answerExtension","outcome":"completed"})",
      R"({"id":7,"channel":"movaro_platform/events","listen":true})",
      again,
      R"({"id":8,"sim":"answerExtension","outcome":"completed"})",
      R"({"id":9,"sim":"setStatus","status":3})",
      R"({"id":10,"sim":"setStatus","status":4})",
      R"({"id":11,"sim":"setStatus","status":3})",
      R"({"id":12,"channel":"movaro_platform","method":"disconnect"})",
      R"({"id":13,"sim":"setStatus","status":1})",
      R"({"id":14,"sim":"profiles"})",
  });
  ASSERT_NE(reply(out, 3), nullptr);
  EXPECT_EQ((*reply(out, 3))["error"]["code"], "EXTENSION_APPROVAL_REQUIRED");
  EXPECT_EQ((*reply(out, 6))["result"], true);
  EXPECT_EQ((*reply(out, 12))["result"], true);
  EXPECT_EQ(states(out),
            (std::vector<std::string>{"disconnected", "connecting", "connected",
                                      "reconnecting", "connected",
                                      "disconnecting", "disconnected"}));
  const Json& profile = (*reply(out, 14))["sim"][0]["fields"];
  EXPECT_EQ(profile["isOnDemandEnabled"], false);
  // The second connect gave no session end, so the profile has none.
  EXPECT_FALSE(
      profile["protocolConfiguration"]["providerConfiguration"].contains(
          "sessionEndsAtEpochMilliseconds"));
  EXPECT_EQ(profile["protocolConfiguration"]["serverAddress"],
            "vpn.example.com:51820");
}

TEST_F(ScenarioTest, MeshLoginTimesOutAndStatusReportsIt) {
  auto out = run({
      R"({"id":1,"sim":"installExtension","suffix":".mesh-extension","info":{"HalvornEngineAvailable":"1"}})",
      R"({"id":2,"sim":"tunnelBehaviour","connectDelay":null})",
      R"({"id":3,"channel":"com.quillfen.halvorn/mesh","method":"login","arguments":{"accountNamespace":"0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef","controlUrl":"https://control.example.com","authKey":"k","hostname":"mac","sessionExpiresAt":"2031-01-01T00:00:00Z"}})",
      R"({"id":4,"sim":"advance","seconds":40})",
      R"({"id":5,"channel":"com.quillfen.halvorn/mesh","method":"status"})",
  });
  EXPECT_EQ((*reply(out, 3))["error"]["code"], "connection_timeout");
  EXPECT_EQ((*reply(out, 3))["error"]["message"],
            "The private network operation could not be completed.");
  EXPECT_EQ((*reply(out, 5))["result"]["state"], "error");
  EXPECT_EQ((*reply(out, 5))["result"]["errorCode"], "connection_timeout");
}

TEST_F(ScenarioTest, WifiNameWaitsForTheLocationDecision) {
  auto out = run({
      R"({"id":1,"channel":"movaro_platform","method":"getCurrentWifiSsid"})",
      R"({"id":2,"channel":"movaro_platform","method":"getCurrentWifiSsid"})",
      R"({"id":3,"sim":"wifi","ssid":"Home"})",
      R"({"id":4,"sim":"locationDecision","status":3})",
  });
  EXPECT_EQ((*reply(out, 2))["error"]["code"], "LOCATION_AUTH_IN_PROGRESS");
  EXPECT_EQ((*reply(out, 1))["result"], "Home");
}

// A held save released with a failure; the engine torn down while another
// save is held, which then completes: nothing is written for the gone
// plugins, and new ones answer on the same Mac.
TEST_F(ScenarioTest, HeldCompletionsAndATeardown) {
  std::string connect =
      R"("channel":"movaro_platform","method":"connect","arguments":{"config":)" +
      std::string(kConfig) + "}";
  auto out = run({
      R"({"id":1,"sim":"hold","operations":["save"]})",
      R"({"id":2,)" + connect + "}",
      R"({"id":3,"sim":"hold"})",
      R"({"id":4,"sim":"release","completion":1,"failure":"Disk full."})",
      R"({"id":5,)" + connect + "}",
      R"({"id":6,"sim":"teardown"})",
      R"({"id":7,"sim":"release","completion":2})",
      R"({"id":8,"channel":"movaro_platform","method":"getPlatformVersion"})",
      R"({"id":9,"sim":"register"})",
      R"({"id":10,"channel":"movaro_platform","method":"getPlatformVersion"})",
      R"({"id":11,"sim":"observers"})",
  });
  EXPECT_EQ(
      (*reply(out, 3))["sim"]["held"],
      Json::parse(R"([{"completion":1,"operation":"save","since":0.0}])"));
  EXPECT_EQ((*reply(out, 2))["error"]["message"], "Disk full.");
  EXPECT_EQ(reply(out, 5), nullptr);
  EXPECT_EQ((*reply(out, 7))["sim"]["held"], Json::array());
  EXPECT_TRUE(reply(out, 8)->contains("hostError"));
  EXPECT_TRUE(reply(out, 10)->contains("result"));
  EXPECT_EQ((*reply(out, 11))["sim"], 0);
}

}  // namespace
}  // namespace movaro::host
