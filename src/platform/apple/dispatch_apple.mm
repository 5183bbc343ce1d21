// The main queue is the main dispatch queue. One-shot timers are
// dispatch_after blocks that check a cancel flag; the monotonic clock is the
// one dispatch_time counts in (mach absolute time, which stops while the Mac
// sleeps).
#include "platform/dispatch.h"

#include <dispatch/dispatch.h>
#include <mach/mach_time.h>

#include <chrono>
#include <cstdint>
#include <memory>

#include "platform/apple/adapters_apple.h"

namespace movaro::platform::apple {
namespace {

class AppleDispatch : public Dispatch {
 public:
  AppleDispatch() { mach_timebase_info(&timebase_); }

  void post(Task task) override { deliverOnMain(std::move(task)); }

  // The main dispatch queue lives as long as the process.
  MainQueue mainQueue() override {
    return [](Task task) { deliverOnMain(std::move(task)); };
  }

  TimerHandle postAfter(Duration delay, Task task) override {
    auto state = std::make_shared<TimerHandle::State>();
    // Held through a pointer so that the task and what it holds are
    // released as soon as it has run.
    auto pending = std::make_shared<Task>(std::move(task));
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, delay.count()),
                   dispatch_get_main_queue(), ^{
                     Task run = std::move(*pending);
                     if (!state->cancelled && run) {
                       guarded(run);
                     }
                   });
    return TimerHandle(state);
  }

  WallTime now() const override { return std::chrono::system_clock::now(); }

  MonotonicTime monotonicNow() const override {
    const unsigned __int128 nanoseconds =
        static_cast<unsigned __int128>(mach_absolute_time()) * timebase_.numer /
        timebase_.denom;
    return MonotonicTime(std::chrono::duration_cast<MonotonicTime::duration>(
        std::chrono::nanoseconds(static_cast<int64_t>(nanoseconds))));
  }

 private:
  mach_timebase_info_data_t timebase_{};
};

}  // namespace

void deliverOnMain(std::function<void()> task) {
  dispatch_async(dispatch_get_main_queue(), ^{
    guarded(task);
  });
}

std::unique_ptr<Dispatch> makeDispatch() {
  return std::make_unique<AppleDispatch>();
}

}  // namespace movaro::platform::apple
