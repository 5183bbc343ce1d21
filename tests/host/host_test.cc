// The host's JSON-lines protocol.
#include "host/host.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "host/demo.h"

namespace movaro::host {
namespace {

class HostTest : public ::testing::Test {
 protected:
  std::vector<Json> send(const std::string& line) {
    size_t before = out.size();
    host.handleLine(line);
    return std::vector<Json>(out.begin() + static_cast<long>(before),
                             out.end());
  }
  Json one(const std::string& line) {
    std::vector<Json> lines = send(line);
    EXPECT_EQ(lines.size(), 1u) << line;
    return lines.empty() ? Json() : lines[0];
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
  Json mainBundle = one(
      R"({"id":1,"sim":"mainBundle","info":{"a":1,"b":5000000000,"c":1.0,"d":2e3,"e":null}})");
  EXPECT_EQ(mainBundle["sim"]["info"]["a"].type(),
            Json::value_t::number_integer);
  EXPECT_EQ(mainBundle["sim"]["info"]["b"], 5000000000);
  EXPECT_TRUE(mainBundle["sim"]["info"]["c"].is_number_float());
  EXPECT_EQ(dumpLine(mainBundle["sim"]["info"]["c"]), "1.0");
  EXPECT_EQ(dumpLine(mainBundle["sim"]["info"]["d"]), "2000.0");
  EXPECT_FALSE(mainBundle["sim"]["info"].contains("e"));
}

TEST_F(HostTest, AdvanceMovesTheVirtualClock) {
  EXPECT_EQ(one(R"({"id":1,"sim":"advance","seconds":1.5})")["sim"]["elapsed"],
            1.5);
  EXPECT_EQ(one(R"({"id":2,"sim":"advance","seconds":0.25})")["sim"]["elapsed"],
            1.75);
}

TEST(HostBinaryTest, ExitsZeroAtEndOfInputAndWritesOnlyProtocolLines) {
  const char* binary = std::getenv("MOVARO_HOST");
  if (binary == nullptr) {
    GTEST_SKIP() << "MOVARO_HOST is not set";
  }
  std::string command =
      std::string("printf '%s\\n' ") +
      "'{\"id\":1,\"channel\":\"movaro_platform\",\"method\":\"getAppInfo\"}' "
      "'garbage' | " +
      binary + " 2>&1";
  FILE* pipe = popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::vector<std::string> lines;
  char buffer[4096];
  while (fgets(buffer, sizeof buffer, pipe)) {
    lines.emplace_back(buffer);
  }
  int status = pclose(pipe);
  EXPECT_EQ(status, 0);
  ASSERT_EQ(lines.size(), 2u);
  for (const std::string& line : lines) {
    EXPECT_FALSE(Json::parse(line, nullptr, false).is_discarded()) << line;
  }
  EXPECT_TRUE(Json::parse(lines[1]).contains("hostError"));
}

TEST(DemoTest, PlaysEveryScriptedLineWithoutAHostError) {
  std::ostringstream out;
  EXPECT_EQ(runDemo(out), 0);
  EXPECT_EQ(out.str().find("hostError"), std::string::npos) << out.str();
  EXPECT_NE(out.str().find("<- mesh.login: true"), std::string::npos);
}

}  // namespace
}  // namespace movaro::host
