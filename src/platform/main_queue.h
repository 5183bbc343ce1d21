// The one idiom for a continuation that holds its owner (a plugin) weakly:
// the weak pointer is locked on the main queue only, so the owner's last
// reference never drops, and the owner is never destroyed, on another
// thread.
//
//   onMain(queue, weak, body)             a callback that may arrive on any
//                                         queue posts itself to the main
//                                         queue and locks there;
//   onMain(kDeliveredOnMain, weak, body)  a callback that the seam already
//                                         delivers on the main queue locks
//                                         where it runs, without another
//                                         turn of the queue.
//
// Either way the body runs as body(owner, arguments...) only while the
// owner lives; the body may be a member function. A posted callback copies
// its arguments.
#ifndef MOVARO_PLATFORM_MAIN_QUEUE_H_
#define MOVARO_PLATFORM_MAIN_QUEUE_H_

#include <functional>
#include <memory>
#include <utility>

#include "platform/dispatch.h"

namespace movaro::platform {

struct DeliveredOnMain {};
inline constexpr DeliveredOnMain kDeliveredOnMain{};

template <typename Owner, typename Body>
auto onMain(DeliveredOnMain /*queue*/, std::weak_ptr<Owner> owner, Body body) {
  return
      [owner = std::move(owner), body = std::move(body)](const auto&... args) {
        if (std::shared_ptr<Owner> self = owner.lock()) {
          std::invoke(body, *self, args...);
        }
      };
}

template <typename Owner, typename Body>
auto onMain(MainQueue queue, std::weak_ptr<Owner> owner, Body body) {
  return [queue = std::move(queue), owner = std::move(owner),
          body = std::move(body)](const auto&... args) {
    queue([owner, body, args...] {
      if (std::shared_ptr<Owner> self = owner.lock()) {
        std::invoke(body, *self, args...);
      }
    });
  };
}

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_MAIN_QUEUE_H_
