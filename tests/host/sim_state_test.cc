// --state DIR: what one run of the host saved, the next run sees.
#include "host/sim_state.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <utility>

#include "host/host.h"

namespace movaro::host {
namespace {

class SimStateTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ =
        std::filesystem::temp_directory_path() /
        ("movaro-state-" +
         std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
         "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(dir_);
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  std::vector<Json> run(const std::vector<std::string>& lines) {
    std::vector<Json> out;
    std::string error;
    Host host([&out](const Json& line) { out.push_back(line); },
              StateFolder::open(dir_.string(), error));
    EXPECT_EQ(error, "");
    for (const std::string& line : lines) {
      host.handleLine(line);
    }
    return out;
  }
  std::string stateText() const {
    std::ifstream in(dir_ / "state.json");
    return std::string((std::istreambuf_iterator<char>(in)),
                       std::istreambuf_iterator<char>());
  }

  std::filesystem::path dir_;
};

TEST_F(SimStateTest, ASecondRunSeesTheProfilesAndDefaultsOfTheFirst) {
  run({R"({"id":1,"channel":"movaro_platform","method":"connect","arguments":{"config":"[Interface]\nPrivateKey = yAnz5TF+lXXJte14tji3zlMNq+hd2rYUIgJBgB3fBmk=\n[Peer]\nPublicKey = xTIBA5rboUvnH4htodjb6e697QjLERt1NAB4mZqp8Dg=\nAllowedIPs = 0.0.0.0/0\nEndpoint = vpn.example.com:51820"}})",
       R"({"id":2,"channel":"movaro_platform","method":"configureAutoConnect","arguments":{"enabled":true,"trustedWifiSsids":["Home"]}})"});
  EXPECT_TRUE(std::filesystem::exists(dir_ / "state.json"));
  EXPECT_FALSE(std::filesystem::exists(dir_ / "state.json.tmp"));

  auto out = run(
      {R"({"id":3,"channel":"movaro_platform","method":"getAutoConnectPolicy"})",
       R"({"id":4,"sim":"profiles"})"});
  ASSERT_EQ(out.size(), 2u);
  EXPECT_EQ(
      out[0]["result"],
      Json::parse(
          R"({"enabled":true,"trustedWifiSsids":["Home"],"hasCachedConfig":true})"));
  // A new run is a Mac that has just started: the tunnel is down.
  EXPECT_EQ(out[1]["sim"][0]["status"], 1);
}

TEST_F(SimStateTest, AStateFileThatCannotBeReadIsRefusedAndLeftAsItIs) {
  const std::string unreadable[] = {
      "{\"profiles\": [tor",
      "[]",
      R"({"profiles":{},"defaults":{}})",
      R"({"profiles":[{"fields":1}],"defaults":{}})",
      R"({"profiles":[],"defaults":[]})",
  };
  std::filesystem::create_directories(dir_);
  for (const std::string& text : unreadable) {
    std::ofstream(dir_ / "state.json") << text;
    std::string error;
    EXPECT_EQ(StateFolder::open(dir_.string(), error), nullptr) << text;
    EXPECT_NE(error.find((dir_ / "state.json").string()), std::string::npos);
    EXPECT_EQ(stateText(), text);
  }
}

TEST_F(SimStateTest, OneHostAtATimeHoldsTheFolder) {
  std::string error;
  auto first = StateFolder::open(dir_.string(), error);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(StateFolder::open(dir_.string(), error), nullptr);
  EXPECT_EQ(error,
            "another movaro-host is using the state folder " + dir_.string());
  first.reset();
  EXPECT_NE(StateFolder::open(dir_.string(), error), nullptr);
}

TEST_F(SimStateTest, AFailedWriteIsAHostErrorOnTheLineThatCausedIt) {
  std::filesystem::create_directories(dir_ / "state.json.tmp");
  auto out = run({R"({"id":1,"sim":"setDefault","key":"k","value":1})",
                  R"({"id":2,"sim":"defaults"})"});
  ASSERT_EQ(out.size(), 4u);
  EXPECT_EQ(out[1], Json::parse(R"({"id":1,"hostError":"The state could not )"
                                R"(be saved to )" +
                                (dir_ / "state.json").string() +
                                R"(: Is a directory."})"));
  // Still unsaved, so the next line tries again.
  EXPECT_EQ(out[3]["id"], 2);
  EXPECT_FALSE(std::filesystem::exists(dir_ / "state.json"));
}

TEST_F(SimStateTest, TheHostStopsWithAMessageWhenItCannotUseTheFolder) {
  const char* binary = std::getenv("MOVARO_HOST");
  if (binary == nullptr) {
    GTEST_SKIP() << "MOVARO_HOST is not set";
  }
  auto exitAndOutput = [&] {
    const std::string command =
        std::string(binary) + " --state " + dir_.string() + " </dev/null 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    std::string text;
    char buffer[512];
    while (size_t n = fread(buffer, 1, sizeof buffer, pipe)) {
      text.append(buffer, n);
    }
    return std::make_pair(WEXITSTATUS(pclose(pipe)), text);
  };
  std::string error;
  auto held = StateFolder::open(dir_.string(), error);
  EXPECT_EQ(exitAndOutput(),
            std::make_pair(1,
                           "movaro-host: another movaro-host is using the "
                           "state folder " +
                               dir_.string() + "\n"));
  held.reset();
  std::ofstream(dir_ / "state.json") << "[]";
  EXPECT_EQ(exitAndOutput(),
            std::make_pair(1, "movaro-host: " + (dir_ / "state.json").string() +
                                  " does not hold saved profiles and "
                                  "defaults; it was left as it is\n"));
  EXPECT_EQ(stateText(), "[]");
}

TEST(WriteAtomicallyTest, ReplacesTheFileWhole) {
  auto path = std::filesystem::temp_directory_path() / "movaro-atomic-test";
  ASSERT_TRUE(writeAtomically(path.string(), "first"));
  ASSERT_TRUE(writeAtomically(path.string(), "second"));
  std::ifstream in(path);
  std::string text((std::istreambuf_iterator<char>(in)),
                   std::istreambuf_iterator<char>());
  EXPECT_EQ(text, "second");
  std::filesystem::remove(path);
  EXPECT_FALSE(writeAtomically("/nonexistent-dir/x/state.json", "x"));
}

}  // namespace
}  // namespace movaro::host
