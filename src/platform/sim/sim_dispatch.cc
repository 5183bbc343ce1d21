#include "platform/sim/sim_dispatch.h"

namespace movaro::sim {

SimDispatch::SimDispatch(WallTime wallStart, uint64_t maxRunsPerIdle)
    : wallStart_(wallStart), maxRuns_(maxRunsPerIdle) {
  gate_->dispatch = this;
}

SimDispatch::~SimDispatch() {
  std::lock_guard<std::mutex> lock(gate_->mutex);
  gate_->dispatch = nullptr;
}

platform::MainQueue SimDispatch::mainQueue() {
  return [gate = gate_](Task task) {
    std::lock_guard<std::mutex> lock(gate->mutex);
    if (gate->dispatch) {
      gate->dispatch->post(std::move(task));
    }
  };
}

SimDispatch::Key SimDispatch::enqueue(Duration due, Entry entry) {
  std::lock_guard<std::mutex> lock(mutex_);
  Key key{due, sequence_++};
  queue_.emplace(key, std::move(entry));
  return key;
}

void SimDispatch::post(Task task) {
  Duration due;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    due = elapsed_;
  }
  enqueue(due, Entry{std::move(task), nullptr});
}

TimerHandle SimDispatch::postAfter(Duration delay, Task task) {
  auto state = std::make_shared<TimerHandle::State>();
  Duration due =
      elapsed() + (delay > Duration::zero() ? delay : Duration::zero());
  enqueue(due, Entry{std::move(task), state});
  return TimerHandle(state);
}

WallTime SimDispatch::now() const {
  return wallStart_ + std::chrono::duration_cast<WallTime::duration>(elapsed());
}

MonotonicTime SimDispatch::monotonicNow() const {
  return MonotonicTime(
      std::chrono::duration_cast<MonotonicTime::duration>(elapsed()));
}

Duration SimDispatch::elapsed() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return elapsed_;
}

std::optional<Duration> SimDispatch::nextDueIn() const {
  std::lock_guard<std::mutex> lock(mutex_);
  for (const auto& [key, entry] : queue_) {
    if (!entry.state || !entry.state->cancelled) {
      return std::max(Duration::zero(), key.first - elapsed_);
    }
  }
  return std::nullopt;
}

size_t SimDispatch::pendingCount() const {
  std::lock_guard<std::mutex> lock(mutex_);
  size_t count = 0;
  for (const auto& [key, entry] : queue_) {
    if (!entry.state || !entry.state->cancelled) {
      ++count;
    }
  }
  return count;
}

bool SimDispatch::takeDue(Duration limit, Entry& entry) {
  std::lock_guard<std::mutex> lock(mutex_);
  while (!queue_.empty()) {
    auto first = queue_.begin();
    if (first->first.first > limit) {
      return false;
    }
    const Duration due = first->first.first;
    Entry taken = std::move(first->second);
    queue_.erase(first);
    if (taken.state && taken.state->cancelled) {
      continue;
    }
    // The clock reaches the entry's due time before it runs.
    elapsed_ = std::max(elapsed_, due);
    entry = std::move(taken);
    return true;
  }
  return false;
}

bool SimDispatch::runDue(Duration limit) {
  uint64_t runs = 0;
  Entry entry;
  while (takeDue(limit, entry)) {
    if (++runs > maxRuns_) {
      stalled_ = true;
      return false;
    }
    // Moved onto the stack so that the task dies right after it ran.
    Task task = std::move(entry.task);
    entry = Entry();
    task();
  }
  return true;
}

void SimDispatch::runUntilIdle() {
  runDue(elapsed());
}

void SimDispatch::advance(Duration delay) {
  if (delay < Duration::zero()) {
    delay = Duration::zero();
  }
  const Duration target = elapsed() + delay;
  if (!runDue(target)) {
    return;
  }
  {
    std::lock_guard<std::mutex> lock(mutex_);
    elapsed_ = std::max(elapsed_, target);
  }
  runUntilIdle();
}

}  // namespace movaro::sim
