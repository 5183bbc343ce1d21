// The host's JSON-lines protocol, and whole scenarios through it as a script
// would run them.
#include "host/host.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "host/demo.h"

namespace movaro::host {
namespace {

constexpr const char* kConfig =
    R"("[Interface]\nPrivateKey = yAnz5TF+lXXJte14tji3zlMNq+hd2rYUIgJBgB3fBmk=\nAddress = 10.0.0.2/32\n[Peer]\nPublicKey = xTIBA5rboUvnH4htodjb6e697QjLERt1NAB4mZqp8Dg=\nAllowedIPs = 0.0.0.0/0\nEndpoint = vpn.example.com:51820")";

class HostTest : public ::testing::Test {
 protected:
  // Sends the lines and returns everything written in answer.
  std::vector<Json> send(const std::vector<std::string>& lines) {
    const size_t before = out.size();
    for (const std::string& line : lines) {
      host.handleLine(line);
    }
    return std::vector<Json>(out.begin() + static_cast<long>(before),
                             out.end());
  }
  Json one(const std::string& line) {
    std::vector<Json> lines = send({line});
    EXPECT_EQ(lines.size(), 1u) << line;
    return lines.empty() ? Json() : lines[0];
  }
  // The line that answered the call with this id; null when none did.
  Json reply(int id) const {
    for (const Json& line : out) {
      if (line.contains("id") && line["id"] == id) {
        return line;
      }
    }
    return Json();
  }

  std::vector<Json> out;
  Host host{[this](const Json& line) { out.push_back(line); }};
};

TEST_F(HostTest, AnswersCallsWithTheirId) {
  EXPECT_EQ(
      one(R"({"id":1,"channel":"movaro_platform","method":"getPlatformVersion"})"),
      Json::parse(R"j({"id":1,"result":"macOS Version 14.5 (Build 23F79)"})j"));
  EXPECT_EQ(
      one(R"({"id":"x","channel":"movaro_platform","method":"pushConfig","arguments":{"config":" "}})"),
      Json::parse(
          R"({"id":"x","error":{"code":"NO_CONFIG","message":"No configuration provided","details":null}})"));
  EXPECT_EQ(
      one(R"({"id":3,"channel":"com.quillfen.halvorn/mesh","method":"Nope","arguments":[1]})"),
      Json::parse(R"({"id":3,"notImplemented":true})"));
}

TEST_F(HostTest, LinesItCannotTakeGetAHostErrorAndTheHostGoesOn) {
  const std::string bad[] = {
      "not json",
      "[1,2]",
      R"({"id":4})",
      R"({"id":5,"channel":"nowhere","method":"x"})",
      R"({"id":6,"channel":"movaro_platform"})",
      R"({"id":7,"sim":"noSuchCommand"})",
      R"({"id":8,"sim":"advance","seconds":-1})",
      "{\"id\":9,\"sim\":\"\xff\"}",
      R"({"id":10,"channel":"movaro_platform","method":7})",
      R"({"id":11,"sim":"advance","seconds":"1"})",
      // Numbers beyond the parameter's type.
      R"({"id":13,"sim":"osVersion","major":2147483648})",
      R"({"id":14,"sim":"addProfile","status":1e300})",
      R"({"id":15,"sim":"fail","operation":"save","times":2.5})",
      R"({"id":16,"sim":"tunnelBehaviour","dropError":{"domain":"D","code":1e19}})",
  };
  for (const std::string& line : bad) {
    Json answer = one(line);
    EXPECT_TRUE(answer.contains("hostError")) << line;
    EXPECT_TRUE(answer["hostError"].is_string());
  }
  EXPECT_EQ(
      one(R"({"id":12,"channel":"movaro_platform","method":"openVpnSettings"})")
          ["result"],
      true);
}

TEST_F(HostTest, HostileLinesAreRefusedAndTheHostGoesOn) {
  std::string deep =
      R"({"id":1,"channel":"movaro_platform","method":"x","arguments":)" +
      std::string(100000, '[') + std::string(100000, ']') + "}";
  EXPECT_TRUE(one(deep).contains("hostError"));
  std::string huge =
      R"({"id":2,"channel":"movaro_platform","method":"pushConfig","arguments":{"config":")" +
      std::string(10 * 1024 * 1024, 'a') + R"("}})";
  EXPECT_EQ(one(huge)["result"], true);
  EXPECT_TRUE(one("{\"id\":3,\"sim\":\"\xc3\x28\"}").contains("hostError"));
  EXPECT_EQ(one(R"({"id":4,"channel":"movaro_platform","method":"getAppInfo"})")
                ["id"],
            4);
}

TEST_F(HostTest, NumbersKeepTheirKindBothWays) {
  Json info = one(
      R"({"id":1,"sim":"mainBundle","info":{"a":1,"b":5000000000,"c":1.0,"d":2e3,"e":null}})")
      ["sim"]["info"];
  EXPECT_EQ(info["a"].type(), Json::value_t::number_integer);
  EXPECT_EQ(info["b"], 5000000000);
  EXPECT_TRUE(info["c"].is_number_float());
  EXPECT_EQ(dumpLine(info["c"]), "1.0");
  EXPECT_EQ(dumpLine(info["d"]), "2000.0");
  EXPECT_FALSE(info.contains("e"));
}

TEST_F(HostTest, AdvanceMovesTheVirtualClock) {
  EXPECT_EQ(one(R"({"id":1,"sim":"advance","seconds":1.5})")["sim"]["elapsed"],
            1.5);
  EXPECT_EQ(one(R"({"id":2,"sim":"advance","seconds":0.25})")["sim"]["elapsed"],
            1.75);
}

TEST_F(HostTest, ConnectWithApprovalWatchAndDisconnect) {
  send({
      R"({"id":1,"sim":"installExtension","suffix":".network-extension"})",
      R"({"id":2,"sim":"tunnelBehaviour","connectDelay":null,"stopDelay":null})",
      R"({"id":3,"channel":"movaro_platform","method":"connect","arguments":{"config":)" +
          std::string(kConfig) +
          R"(,"sessionEndsAtEpochMilliseconds":1900000000000}})",
      R"({"id":4,"sim":"answerExtension","outcome":"needsApproval"})",
      R"({"id":5,"sim":"answerExtension","outcome":"completed"})",
      R"({"id":7,"channel":"movaro_platform/events","listen":true})",
      R"({"id":6,"channel":"movaro_platform","method":"connect"})",
      R"({"id":8,"sim":"answerExtension","outcome":"completed"})",
      R"({"id":9,"sim":"setStatus","status":3})",
      R"({"id":10,"sim":"setStatus","status":4})",
      R"({"id":11,"sim":"setStatus","status":3})",
      R"({"id":12,"channel":"movaro_platform","method":"disconnect"})",
      R"({"id":13,"sim":"setStatus","status":1})",
      R"({"id":14,"sim":"profiles"})",
  });
  EXPECT_EQ(reply(3)["error"]["code"], "EXTENSION_APPROVAL_REQUIRED");
  EXPECT_EQ(reply(6)["result"], true);
  EXPECT_EQ(reply(12)["result"], true);
  std::vector<std::string> states;
  for (const Json& line : out) {
    if (line.contains("event")) {
      states.push_back(line["event"]["state"].get<std::string>());
    }
  }
  EXPECT_EQ(states,
            (std::vector<std::string>{"disconnected", "connecting", "connected",
                                      "reconnecting", "connected",
                                      "disconnecting", "disconnected"}));
  Json profile = reply(14)["sim"][0]["fields"];
  EXPECT_EQ(profile["isOnDemandEnabled"], false);
  // The second connect gave no session end, so the profile has none.
  EXPECT_FALSE(
      profile["protocolConfiguration"]["providerConfiguration"].contains(
          "sessionEndsAtEpochMilliseconds"));
  EXPECT_EQ(profile["protocolConfiguration"]["serverAddress"],
            "vpn.example.com:51820");
}

TEST_F(HostTest, WifiNameWaitsForTheLocationDecision) {
  send({
      R"({"id":1,"channel":"movaro_platform","method":"getCurrentWifiSsid"})",
      R"({"id":2,"channel":"movaro_platform","method":"getCurrentWifiSsid"})",
      R"({"id":3,"sim":"wifi","ssid":"Home"})",
      R"({"id":4,"sim":"locationDecision","status":3})",
  });
  EXPECT_EQ(reply(2)["error"]["code"], "LOCATION_AUTH_IN_PROGRESS");
  EXPECT_EQ(reply(1)["result"], "Home");
}

// A held save released with a failure; the engine torn down while another
// save is held, which then completes: nothing is written for the gone
// plugins, and new ones answer on the same Mac.
TEST_F(HostTest, HeldCompletionsAndATeardown) {
  const std::string connect =
      R"("channel":"movaro_platform","method":"connect","arguments":{"config":)" +
      std::string(kConfig) + "}}";
  send({
      R"({"id":1,"sim":"hold","operations":["save"]})",
      R"({"id":2,)" + connect,
      R"({"id":3,"sim":"hold"})",
      R"({"id":4,"sim":"release","completion":1,"failure":"Disk full."})",
      R"({"id":5,)" + connect,
      R"({"id":6,"sim":"teardown"})",
      R"({"id":7,"sim":"release","completion":2})",
      R"({"id":8,"channel":"movaro_platform","method":"getPlatformVersion"})",
      R"({"id":9,"sim":"register"})",
      R"({"id":10,"channel":"movaro_platform","method":"getPlatformVersion"})",
      R"({"id":11,"sim":"observers"})",
  });
  EXPECT_EQ(
      reply(3)["sim"]["held"],
      Json::parse(R"([{"completion":1,"operation":"save","since":0.0}])"));
  EXPECT_EQ(reply(2)["error"]["message"], "Disk full.");
  EXPECT_TRUE(reply(5).is_null());
  EXPECT_EQ(reply(7)["sim"]["held"], Json::array());
  EXPECT_TRUE(reply(8).contains("hostError"));
  EXPECT_TRUE(reply(10).contains("result"));
  EXPECT_EQ(reply(11)["sim"], 0);
}

TEST(DemoTest, PlaysEveryScriptedLineWithoutAHostError) {
  std::ostringstream out;
  EXPECT_EQ(runDemo(out), 0);
  EXPECT_EQ(out.str().find("hostError"), std::string::npos) << out.str();
  EXPECT_NE(out.str().find("<- mesh.login: true"), std::string::npos);
}

}  // namespace
}  // namespace movaro::host
