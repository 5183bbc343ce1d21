#include "platform/dispatch.h"

#include <cmath>

namespace movaro::platform {

Duration seconds(double value) {
  return Duration(static_cast<Duration::rep>(std::llround(value * 1e9)));
}

TimerHandle& TimerHandle::operator=(TimerHandle&& other) noexcept {
  if (this != &other) {
    cancel();
    state_ = std::move(other.state_);
  }
  return *this;
}

void TimerHandle::cancel() {
  if (state_) {
    state_->cancelled = true;
    state_.reset();
  }
}

}  // namespace movaro::platform
