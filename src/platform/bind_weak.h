// Turns "weak owner + member function" into a callback that does nothing
// once the owner is gone. Bound arguments come first, then the callback's.
#ifndef MOVARO_PLATFORM_BIND_WEAK_H_
#define MOVARO_PLATFORM_BIND_WEAK_H_

#include <memory>
#include <utility>

namespace movaro::platform {

template <typename T, typename Method, typename... Bound>
auto bindWeak(std::weak_ptr<T> owner, Method method, Bound... bound) {
  return [owner = std::move(owner), method, bound...](auto&&... args) {
    if (auto self = owner.lock()) {
      ((*self).*method)(bound..., std::forward<decltype(args)>(args)...);
    }
  };
}

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_BIND_WEAK_H_
