// Provider messages: one reply or null, once, within five seconds.
#include "support/mesh_fixture.h"

namespace movaro::testing {
namespace {

Value state(const char* text) {
  return dict({{"state", text}});
}

TEST_F(MeshTest, AReplyBeforeTheTimeoutWinsAndOneAfterIsDropped) {
  addMeshProfile(platform::kVpnStatusConnected);
  answer("status", R"({"state":"late"})", 4.9);
  ReplyPtr early = ask("status");
  advance(4.9);
  EXPECT_THAT(early, IsValue(state("late")));
  advance(1);
  EXPECT_EQ(early->count, 1);

  answer("status", R"({"state":"too late"})", 6);
  ReplyPtr late = ask("status");
  advance(5);
  EXPECT_THAT(late, IsValue(emptyStatus()));
  advance(2);
  EXPECT_EQ(late->count, 1);
  EXPECT_EQ(mac.dispatch.pendingCount(), 0u);
}

TEST_F(MeshTest, UnusableProviderRepliesAreNull) {
  addMeshProfile(platform::kVpnStatusReasserting);
  for (const char* body : {"[1]", "\"text\"", "not json", ""}) {
    answer("status", body);
    EXPECT_THAT(ask("status"), IsValue(emptyStatus())) << body;
  }
  // No bytes at all.
  mac.networkExtension.providerAnswers["status"] = sim::ProviderAnswer{};
  EXPECT_THAT(ask("status"), IsValue(emptyStatus()));
  answer("status", "{}");
  EXPECT_THAT(ask("status"), IsValue(ValueMap{}));
}

TEST_F(MeshTest, AProviderMessageThatCannotBeSentAnswersOnceAtOnce) {
  addMeshProfile(platform::kVpnStatusConnected);
  mac.networkExtension.providerAnswers["status"] =
      sim::ProviderAnswer{std::nullopt, {}, false, true};
  ReplyPtr reply = ask("status");
  EXPECT_THAT(reply, IsValue(emptyStatus()));
  advance(6);
  EXPECT_EQ(reply->count, 1);
}

TEST_F(MeshTest, TwoProviderMessagesEachGetTheirOwnAnswer) {
  addMeshProfile(platform::kVpnStatusConnected);
  answer("status", R"({"state":"one"})", 1);
  ReplyPtr first = ask("status");
  answer("status", R"({"state":"two"})", 3);
  ReplyPtr second = ask("status");
  advance(1);
  EXPECT_THAT(first, IsValue(state("one")));
  EXPECT_THAT(second, IsUnanswered());
  advance(2);
  EXPECT_THAT(second, IsValue(state("two")));
}

TEST_F(MeshTest, NoProviderReplyOnceThePluginIsGone) {
  addMeshProfile(platform::kVpnStatusConnected);
  silence("status");
  ReplyPtr reply = ask("status");
  teardown();
  advance(10);
  EXPECT_THAT(reply, IsUnanswered());
  EXPECT_EQ(mac.dispatch.pendingCount(), 0u);
}

}  // namespace
}  // namespace movaro::testing
