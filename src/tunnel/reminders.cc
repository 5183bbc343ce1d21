// Subscription reminders: the interface's whole set replaces the reminders
// scheduled before, as local notifications.
#include <mutex>

#include "tunnel/movaro_platform_plugin.h"

namespace movaro {
namespace {

constexpr const char* kIdentifierPrefix = "halvorn.subscription.";
constexpr int kClearedSlots = 7;

// The additions still outstanding and the last error among them. The
// addition callbacks come on queues of the system's choosing, possibly at
// the same time; the reply goes out on the main queue once all are in. The
// group needs nothing of the plugin.
class ReminderGroup {
 public:
  ReminderGroup(platform::MainQueue mainQueue, Reply result)
      : mainQueue_(std::move(mainQueue)), result_(std::move(result)) {}

  void enter() {
    std::lock_guard<std::mutex> lock(mutex_);
    ++outstanding_;
  }
  void leave(const platform::MaybeError& error) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (error) {
      error_ = error;  // of several failures, the last one written
    }
    if (--outstanding_ == 0) {
      mainQueue_([result = result_, failure = error_] {
        if (failure) {
          result->error("REMINDER_SCHEDULE_FAILED", failure->message);
        } else {
          result->success(true);
        }
      });
    }
  }

 private:
  const platform::MainQueue mainQueue_;
  const Reply result_;
  std::mutex mutex_;
  int outstanding_ = 1;  // the scheduling loop's own hold
  platform::MaybeError error_;
};

struct Reminder {
  int64_t id = 0;
  int64_t scheduledAtMillis = 0;
  std::string title;
  std::string body;
};

std::optional<Reminder> readReminder(const ValueMap& item) {
  Arguments fields{Value(item)};
  auto id = fields.integer("id");
  auto at = fields.integer("scheduled_at_millis");
  auto title = fields.string("title");
  auto body = fields.string("body");
  if (!id || !at || !title || !body) {
    return std::nullopt;
  }
  return Reminder{*id, *at, *title, *body};
}

}  // namespace

void MovaroPlatformPlugin::syncSubscriptionReminders(
    const std::vector<ValueMap>& reminders,
    const Reply& result) {
  std::vector<std::string> slots;
  for (int slot = 1; slot <= kClearedSlots; ++slot) {
    slots.push_back(kIdentifierPrefix + std::to_string(slot));
  }
  services_.notifications.removePendingNotificationRequests(slots);
  if (reminders.empty()) {
    result->success(true);
    return;
  }
  // The answer comes on a queue of the system's choosing; the plugin is
  // only looked at on the main queue.
  services_.notifications.requestAuthorization(
      {.alert = true, .sound = true, .badge = false},
      platform::onMain(
          services_.dispatch.mainQueue(), weak_from_this(),
          [reminders, result](MovaroPlatformPlugin& self, bool granted,
                              const platform::MaybeError& error) {
            self.scheduleReminders(reminders, result, granted, error);
          }));
}

void MovaroPlatformPlugin::scheduleReminders(
    const std::vector<ValueMap>& reminders,
    const Reply& result,
    bool granted,
    const platform::MaybeError& error) {
  if (error || !granted) {
    std::optional<std::string> message;
    if (error) {
      message = error->message;
    }
    result->error("NOTIFICATION_PERMISSION_DENIED", message);
    return;
  }
  auto group =
      std::make_shared<ReminderGroup>(services_.dispatch.mainQueue(), result);
  const auto now = services_.dispatch.now();
  for (const ValueMap& item : reminders) {
    std::optional<Reminder> reminder = readReminder(item);
    if (!reminder) {
      continue;
    }
    double due = static_cast<double>(reminder->scheduledAtMillis) / 1000.0;
    double delay =
        due - std::chrono::duration<double>(now.time_since_epoch()).count();
    if (delay <= 0) {
      continue;  // reminders in the past are dropped
    }
    group->enter();
    platform::NotificationRequest request;
    request.identifier = kIdentifierPrefix + std::to_string(reminder->id);
    request.title = reminder->title;
    request.body = reminder->body;
    request.defaultSound = true;
    request.timeInterval = std::max(delay, 1.0);
    request.repeats = false;
    services_.notifications.add(request,
                                [group](const platform::MaybeError& addError) {
                                  group->leave(addError);
                                });
  }
  group->leave(std::nullopt);
}

}  // namespace movaro
