// The main queue: a single-threaded loop of tasks and one-shot timers, and
// the clocks.
//
// Delivery contract of every platform completion, in every family header:
// it is delivered later (never from inside the call that asked for it), on
// the main queue, exactly once. The exceptions say so where they are
// declared (notification callbacks arrive on other threads).
#ifndef MOVARO_PLATFORM_DISPATCH_H_
#define MOVARO_PLATFORM_DISPATCH_H_

#include <chrono>
#include <functional>
#include <memory>

namespace movaro::platform {

using Task = std::function<void()>;
// Time counts integer nanoseconds, so that 400 polls of 0.1 s land exactly
// on 40 s. Both clocks are named with that tick: the system clock's own
// tick differs between C++ libraries (nanoseconds in libstdc++,
// microseconds in libc++), and `now() + Duration` must be a WallTime
// everywhere.
using Duration = std::chrono::nanoseconds;
using WallTime = std::chrono::sys_time<Duration>;
using MonotonicTime =
    std::chrono::time_point<std::chrono::steady_clock, Duration>;
// Posts a task to the main queue from any thread. A copy stays safe to call
// after the Dispatch that made it is gone, so a callback on another thread
// may hold one by value.
using MainQueue = std::function<void(Task)>;

// Seconds with fraction, rounded to the nearest tick.
Duration seconds(double value);

// A pending one-shot timer. Cancels it when destroyed; move-only.
class TimerHandle {
 public:
  struct State {
    bool cancelled = false;
  };

  TimerHandle() = default;
  explicit TimerHandle(std::shared_ptr<State> state)
      : state_(std::move(state)) {}
  TimerHandle(TimerHandle&& other) noexcept = default;
  TimerHandle& operator=(TimerHandle&& other) noexcept;
  TimerHandle(const TimerHandle&) = delete;
  TimerHandle& operator=(const TimerHandle&) = delete;
  ~TimerHandle() { cancel(); }

  void cancel();
  // Drops the handle without cancelling: the timer runs when due.
  void release() { state_.reset(); }

 private:
  std::shared_ptr<State> state_;
};

class Dispatch {
 public:
  virtual ~Dispatch() = default;
  // Runs the task on the main queue after everything already due. May be
  // called from any thread.
  virtual void post(Task task) = 0;
  // post() by value, for callbacks that may outlive this object.
  virtual MainQueue mainQueue() = 0;
  // Runs the task on the main queue once the delay has passed on the
  // monotonic clock, unless the handle cancels it first. Main thread only.
  [[nodiscard]] virtual TimerHandle postAfter(Duration delay, Task task) = 0;
  // Wall clock, for deadlines kept as dates.
  virtual WallTime now() const = 0;
  // Monotonic clock, for dispatch deadlines.
  virtual MonotonicTime monotonicNow() const = 0;
};

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_DISPATCH_H_
