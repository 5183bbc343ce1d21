// The main queue on virtual time. Nothing runs until the owner asks:
// runUntilIdle() runs what is due now, advance() moves the clock.
#ifndef MOVARO_PLATFORM_SIM_SIM_DISPATCH_H_
#define MOVARO_PLATFORM_SIM_SIM_DISPATCH_H_

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "platform/dispatch.h"

namespace movaro::sim {

using platform::Duration;
using platform::MonotonicTime;
using platform::Task;
using platform::TimerHandle;
using platform::WallTime;

class SimDispatch : public platform::Dispatch {
 public:
  // More task runs than this in one runUntilIdle() or advance() is a loop
  // that never settles; the run stops and stalled() turns true.
  static constexpr uint64_t kMaxRunsPerIdle = 1'000'000;

  explicit SimDispatch(WallTime wallStart,
                       uint64_t maxRunsPerIdle = kMaxRunsPerIdle);
  ~SimDispatch() override;
  SimDispatch(const SimDispatch&) = delete;
  SimDispatch& operator=(const SimDispatch&) = delete;

  void post(Task task) override;
  // Posts here while this object lives; nothing once it is gone.
  platform::MainQueue mainQueue() override;
  TimerHandle postAfter(Duration delay, Task task) override;
  WallTime now() const override;
  MonotonicTime monotonicNow() const override;

  // Runs every task due now, including tasks those tasks post for now.
  void runUntilIdle();
  // Runs everything due up to now + delay, each timer at its due time, and
  // ends with the clock exactly there.
  void advance(Duration delay);

  Duration elapsed() const;
  // How long until the earliest pending task; absent when none is pending.
  std::optional<Duration> nextDueIn() const;
  // Tasks and timers still to run (cancelled timers not counted).
  size_t pendingCount() const;
  bool stalled() const { return stalled_; }

 private:
  struct Entry {
    Task task;
    std::shared_ptr<TimerHandle::State> state;
  };
  using Key = std::pair<Duration, uint64_t>;

  Key enqueue(Duration due, Entry entry);
  // Takes the earliest entry due at or before `limit`; false when none.
  bool takeDue(Duration limit, Entry& entry);
  // Runs every entry due by the limit, in order; false when it stalled.
  bool runDue(Duration limit);

  // What mainQueue() copies hold: this object until it is destroyed.
  struct Gate {
    std::mutex mutex;
    SimDispatch* dispatch = nullptr;
  };

  const std::shared_ptr<Gate> gate_ = std::make_shared<Gate>();
  const WallTime wallStart_;
  const uint64_t maxRuns_;
  mutable std::mutex mutex_;
  Duration elapsed_{0};
  uint64_t sequence_ = 0;
  std::map<Key, Entry> queue_;
  bool stalled_ = false;
};

}  // namespace movaro::sim

#endif  // MOVARO_PLATFORM_SIM_SIM_DISPATCH_H_
