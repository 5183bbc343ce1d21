// --state DIR: what one run of the host saved, the next run sees.
#include "host/sim_state.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

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
    Host host([&out](const Json& line) { out.push_back(line); }, dir_.string());
    for (const std::string& line : lines) {
      host.handleLine(line);
    }
    return out;
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

TEST_F(SimStateTest, AnUnreadableStateFileStartsEmpty) {
  std::filesystem::create_directories(dir_);
  std::ofstream(dir_ / "state.json") << "{\"profiles\": [tor";
  auto out = run({R"({"id":1,"sim":"profiles"})"});
  EXPECT_EQ(out[0]["sim"], Json::array());
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
