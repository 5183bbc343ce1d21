// Provider messages: one reply or null, once, within five seconds.
#include "support/mesh_fixture.h"

namespace movaro::testing {
namespace {

class ProviderMessagingTest : public MeshTest {
 protected:
  ReplyPtr status() {
    ReplyPtr reply = callMesh("status");
    runUntilIdle();
    return reply;
  }
  static Value state(const char* text) { return dict({{"state", text}}); }
  Value disconnected() {
    return dict({{"state", "disconnected"},
                 {"selfName", ""},
                 {"selfAddresses", ValueList{}},
                 {"peers", ValueList{}}});
  }
};

TEST_F(ProviderMessagingTest, AReplyBeforeTheTimeoutWinsAndOneAfterIsDropped) {
  addMeshProfile(platform::kVpnStatusConnected);
  answer("status", R"({"state":"late"})", 4.9);
  ReplyPtr early = status();
  advance(4.9);
  EXPECT_THAT(early, IsValue(state("late")));
  advance(1);
  EXPECT_EQ(early->count, 1);

  answer("status", R"({"state":"too late"})", 6);
  ReplyPtr late = status();
  advance(5);
  EXPECT_THAT(late, IsValue(disconnected()));
  advance(2);
  EXPECT_EQ(late->count, 1);
  EXPECT_EQ(mac.dispatch.pendingCount(), 0u);
}

TEST_F(ProviderMessagingTest, TheReplyLimitIsExactly256KiB) {
  addMeshProfile(platform::kVpnStatusConnected);
  auto padded = [](size_t size) {
    std::string prefix = R"({"state":")";
    std::string suffix = R"("})";
    return prefix + std::string(size - prefix.size() - suffix.size(), 'x') +
           suffix;
  };
  answer("status", padded(262144));
  ReplyPtr atLimit = status();
  EXPECT_EQ(find(*atLimit->value().getIf<ValueMap>(), "state")
                ->getIf<std::string>()
                ->size(),
            262144u - 12);
  answer("status", padded(262145));
  EXPECT_THAT(status(), IsValue(disconnected()));
}

TEST_F(ProviderMessagingTest, UnusableRepliesAreNull) {
  addMeshProfile(platform::kVpnStatusReasserting);
  for (const char* body :
       {"[1]", "\"text\"", "42", "not json", "{\"a\":", ""}) {
    answer("status", body);
    EXPECT_THAT(status(), IsValue(disconnected())) << body;
  }
  mac.networkExtension.providerAnswers["status"] = sim::ProviderAnswer{};
  EXPECT_THAT(status(), IsValue(disconnected()));
  answer("status", "{}");
  EXPECT_THAT(status(), IsValue(ValueMap{}));
}

TEST_F(ProviderMessagingTest, ASendFailureAnswersOnceAtOnce) {
  addMeshProfile(platform::kVpnStatusConnected);
  mac.networkExtension.providerAnswers["status"] =
      sim::ProviderAnswer{std::nullopt, {}, false, true};
  ReplyPtr reply = status();
  EXPECT_THAT(reply, IsValue(disconnected()));
  advance(6);
  EXPECT_EQ(reply->count, 1);
}

TEST_F(ProviderMessagingTest, TwoCallsEachGetTheirOwnAnswer) {
  addMeshProfile(platform::kVpnStatusConnected);
  answer("status", R"({"state":"one"})", 1);
  ReplyPtr first = callMesh("status");
  runUntilIdle();
  answer("status", R"({"state":"two"})", 3);
  ReplyPtr second = callMesh("status");
  runUntilIdle();
  advance(1);
  EXPECT_THAT(first, IsValue(state("one")));
  EXPECT_THAT(second, IsUnanswered());
  advance(2);
  EXPECT_THAT(second, IsValue(state("two")));
}

TEST_F(ProviderMessagingTest, NoReplyOnceThePluginIsGone) {
  addMeshProfile(platform::kVpnStatusConnected);
  silence("status");
  ReplyPtr reply = status();
  teardown();
  advance(10);
  EXPECT_THAT(reply, IsUnanswered());
  EXPECT_EQ(mac.dispatch.pendingCount(), 0u);
}

}  // namespace
}  // namespace movaro::testing
