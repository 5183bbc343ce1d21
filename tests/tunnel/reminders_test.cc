// Subscription reminders as local notifications.
#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::FieldsAre;
using ::testing::IsEmpty;

// Due this long after the virtual clock's start, 2030-01-01T00:00:00Z.
Value reminder(Value id, double inSeconds) {
  return dict({{"id", id},
               {"title", "Renew"},
               {"body", "Your plan ends soon."},
               {"scheduled_at_millis", 1893456000000 + inSeconds * 1000}});
}

// Runs with the system's callbacks on the main queue, and again on threads
// of their own.
class RemindersTest : public TunnelTest,
                      public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    mac.notifications.callbacksOnOtherThreads = GetParam();
  }
  ReplyPtr sync(const ValueList& reminders) {
    ReplyPtr reply =
        callMain("syncSubscriptionReminders", dict({{"reminders", reminders}}));
    settle();
    return reply;
  }
  void settle() {
    for (int i = 0; i < 4; ++i) {
      mac.notifications.joinCallbacks();
      runUntilIdle();
    }
  }
  std::vector<std::string> pendingIds() {
    std::vector<std::string> ids;
    for (const auto& request : mac.notifications.pendingRequests()) {
      ids.push_back(request.identifier);
    }
    return ids;
  }
};

// Nothing to schedule: an empty list, or one with something else than a
// reminder in it, asks nothing; one all in the past still asks.
TEST_P(RemindersTest, NothingToScheduleStillClearsTheSlots) {
  const std::pair<ValueList, std::vector<std::string>> rows[] = {
      {{}, {"un.removePending"}},
      {{reminder(1, 60), 5}, {"un.removePending"}},
      {{reminder(1, -1), reminder(2, -100)},
       {"un.removePending", "un.requestAuthorization"}},
  };
  for (const auto& [list, calls] : rows) {
    mac.log.clear();
    EXPECT_THAT(sync(list), IsValue(true));
    EXPECT_EQ(mac.log.names(), calls);
    EXPECT_EQ(
        *find(mac.log.calls()[0].details, "identifiers"),
        Value(ValueList{"halvorn.subscription.1", "halvorn.subscription.2",
                        "halvorn.subscription.3", "halvorn.subscription.4",
                        "halvorn.subscription.5", "halvorn.subscription.6",
                        "halvorn.subscription.7"}));
    EXPECT_THAT(pendingIds(), IsEmpty());
  }
}

TEST_P(RemindersTest, SchedulesWithAOneSecondFloorAndDropsThePast) {
  EXPECT_THAT(sync({reminder(1, 0.5), reminder(2, 90), reminder(3, -5),
                    reminder("4", 60), reminder(5, 0),
                    dict({{"id", 6}, {"title", "t"}}), reminder(7.9, 30)}),
              IsValue(true));
  auto request = [](const std::string& slot, double interval) {
    return FieldsAre("halvorn.subscription." + slot, "Renew",
                     "Your plan ends soon.", true, interval, false);
  };
  EXPECT_THAT(mac.notifications.pendingRequests(),
              ElementsAre(request("1", 1.0), request("2", 90.0),
                          request("7", 30.0)));  // 7.9 is cut to 7
  auto asked = mac.log.named("un.requestAuthorization");
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(asked[0].details,
            dict({{"alert", true}, {"sound", true}, {"badge", false}}));
  // A later call clears the slots; ids outside them survive.
  EXPECT_THAT(sync({reminder(9, 60)}), IsValue(true));
  EXPECT_THAT(sync({reminder(3, 60)}), IsValue(true));
  EXPECT_THAT(pendingIds(),
              ElementsAre("halvorn.subscription.9", "halvorn.subscription.3"));
}

TEST_P(RemindersTest, DeclinedOrFailedAuthorisation) {
  EXPECT_THAT(sync({reminder(1, 60)}), IsValue(true));
  mac.notifications.authorization =
      sim::SimNotificationCenter::Authorization::kDeclined;
  EXPECT_THAT(sync({reminder(2, 60)}),
              IsError("NOTIFICATION_PERMISSION_DENIED", std::nullopt));
  // The old reminders in the slots are gone, and nothing new is scheduled.
  EXPECT_THAT(pendingIds(), IsEmpty());
  mac.notifications.authorization =
      sim::SimNotificationCenter::Authorization::kFailing;
  EXPECT_THAT(sync({reminder(2, 60)}),
              IsError("NOTIFICATION_PERMISSION_DENIED",
                      "Notifications are not allowed."));
}

// The additions' callbacks come back in every order: the reply waits for
// the last of them and reports the failure that came last; the additions
// that went through stay.
TEST_P(RemindersTest, AdditionsAnsweredInEveryOrder) {
  std::vector<size_t> order = {0, 1, 2};
  do {
    mac.holds.hold({"notificationAdd"});
    ReplyPtr reply = sync({reminder(1, 60), reminder(2, 60), reminder(3, 60)});
    const auto held = mac.holds.held();
    ASSERT_EQ(held.size(), 3u);
    std::string lastFailure;
    for (size_t addition : order) {
      EXPECT_THAT(reply, IsUnanswered());
      std::string failure = "No room for " + std::to_string(addition) + ".";
      if (addition != 1) {  // the middle one succeeds
        lastFailure = failure;
      }
      mac.holds.release(held[addition].id,
                        addition != 1 ? std::optional(failure) : std::nullopt);
      settle();
    }
    EXPECT_THAT(reply, IsError("REMINDER_SCHEDULE_FAILED", lastFailure));
    EXPECT_THAT(pendingIds(), ElementsAre("halvorn.subscription.2"));
  } while (std::next_permutation(order.begin(), order.end()));
}

INSTANTIATE_TEST_SUITE_P(Queues,
                         RemindersTest,
                         ::testing::Bool(),
                         [](const auto& test) {
                           return test.param ? "OtherThreads" : "MainQueue";
                         });

}  // namespace
}  // namespace movaro::testing
