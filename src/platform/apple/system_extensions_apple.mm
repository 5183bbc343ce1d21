// SystemExtensions: activation requests created with the main queue, so that
// their delegate callbacks arrive there. Each submitted request gets a small
// delegate object that forwards the four callbacks to the C++ delegate, held
// weakly, naming the request by the wrapper the plugin holds.
#include "platform/system_extensions.h"

#import <Foundation/Foundation.h>
#import <SystemExtensions/SystemExtensions.h>
#include <dispatch/dispatch.h>

#include <memory>

#include "platform/apple/adapters_apple.h"
#include "platform/apple/conversions_apple.h"

@class MovaroActivationRequestDelegate;

namespace movaro::platform::apple {
namespace {

class AppleActivationRequest : public ActivationRequest {
 public:
  explicit AppleActivationRequest(OSSystemExtensionRequest* request)
      : request_(request) {}

  std::string identifier() const override {
    return toStdString(request_.identifier);
  }

  OSSystemExtensionRequest* object() const { return request_; }
  // The request's delegate property is weak: the wrapper keeps the delegate
  // object for as long as it lives.
  void setDelegate(MovaroActivationRequestDelegate* delegate);

 private:
  OSSystemExtensionRequest* request_;
  MovaroActivationRequestDelegate* delegate_ = nil;
};

ExtensionProperties toExtensionProperties(
    OSSystemExtensionProperties* properties) {
  return ExtensionProperties{toStdString(properties.bundleIdentifier),
                             toStdString(properties.bundleVersion),
                             toStdString(properties.bundleShortVersion)};
}

}  // namespace
}  // namespace movaro::platform::apple

using movaro::platform::ActivationRequest;
using movaro::platform::ActivationRequestDelegate;
using movaro::platform::apple::AppleActivationRequest;

@interface MovaroActivationRequestDelegate
    : NSObject <OSSystemExtensionRequestDelegate>
- (instancetype)initWithRequest:(std::weak_ptr<ActivationRequest>)request
                       delegate:
                           (std::weak_ptr<ActivationRequestDelegate>)delegate;
@end

@implementation MovaroActivationRequestDelegate {
  std::weak_ptr<ActivationRequest> _request;
  std::weak_ptr<ActivationRequestDelegate> _delegate;
}

- (instancetype)initWithRequest:(std::weak_ptr<ActivationRequest>)request
                       delegate:
                           (std::weak_ptr<ActivationRequestDelegate>)delegate {
  if ((self = [super init])) {
    _request = std::move(request);
    _delegate = std::move(delegate);
  }
  return self;
}

// The wrapper of the request a callback names, if it is still held.
- (std::shared_ptr<ActivationRequest>)wrapperOf:
    (OSSystemExtensionRequest*)request {
  std::shared_ptr<ActivationRequest> wrapper = _request.lock();
  const auto* apple = static_cast<const AppleActivationRequest*>(wrapper.get());
  return apple && apple->object() == request ? wrapper : nullptr;
}

- (OSSystemExtensionReplacementAction)
                        request:(OSSystemExtensionRequest*)request
    actionForReplacingExtension:(OSSystemExtensionProperties*)existing
                  withExtension:(OSSystemExtensionProperties*)ext {
  return movaro::platform::apple::guarded(
      OSSystemExtensionReplacementActionCancel,
      [&]() -> OSSystemExtensionReplacementAction {
        std::shared_ptr<ActivationRequest> wrapper = [self wrapperOf:request];
        std::shared_ptr<ActivationRequestDelegate> delegate = _delegate.lock();
        // A request nobody waits for any more is not worth a replacement.
        if (!wrapper || !delegate) {
          return OSSystemExtensionReplacementActionCancel;
        }
        const movaro::platform::ReplacementAction action =
            delegate->actionForReplacingExtension(
                *wrapper,
                movaro::platform::apple::toExtensionProperties(existing),
                movaro::platform::apple::toExtensionProperties(ext));
        return action == movaro::platform::ReplacementAction::kReplace
                   ? OSSystemExtensionReplacementActionReplace
                   : OSSystemExtensionReplacementActionCancel;
      });
}

- (void)requestNeedsUserApproval:(OSSystemExtensionRequest*)request {
  movaro::platform::apple::guarded([&] {
    std::shared_ptr<ActivationRequest> wrapper = [self wrapperOf:request];
    if (std::shared_ptr<ActivationRequestDelegate> delegate = _delegate.lock();
        wrapper && delegate) {
      delegate->requestNeedsUserApproval(*wrapper);
    }
  });
}

- (void)request:(OSSystemExtensionRequest*)request
    didFinishWithResult:(OSSystemExtensionRequestResult)result {
  movaro::platform::apple::guarded([&] {
    std::shared_ptr<ActivationRequest> wrapper = [self wrapperOf:request];
    if (std::shared_ptr<ActivationRequestDelegate> delegate = _delegate.lock();
        wrapper && delegate) {
      delegate->requestDidFinish(
          *wrapper,
          result == OSSystemExtensionRequestWillCompleteAfterReboot
              ? movaro::platform::ActivationResult::kWillCompleteAfterReboot
              : movaro::platform::ActivationResult::kCompleted);
    }
  });
}

- (void)request:(OSSystemExtensionRequest*)request
    didFailWithError:(NSError*)error {
  movaro::platform::apple::guarded([&] {
    std::shared_ptr<ActivationRequest> wrapper = [self wrapperOf:request];
    if (std::shared_ptr<ActivationRequestDelegate> delegate = _delegate.lock();
        wrapper && delegate) {
      delegate->requestDidFail(*wrapper,
                               movaro::platform::apple::toPlatformError(error));
    }
  });
}

@end

namespace movaro::platform::apple {
namespace {

void AppleActivationRequest::setDelegate(
    MovaroActivationRequestDelegate* delegate) {
  delegate_ = delegate;
  request_.delegate = delegate;
}

class AppleSystemExtensions : public SystemExtensions {
 public:
  std::shared_ptr<ActivationRequest> activationRequest(
      const std::string& identifier) override {
    return std::make_shared<AppleActivationRequest>([OSSystemExtensionRequest
        activationRequestForExtension:toNSString(identifier)
                                queue:dispatch_get_main_queue()]);
  }

  void submitRequest(
      const std::shared_ptr<ActivationRequest>& request,
      std::weak_ptr<ActivationRequestDelegate> delegate) override {
    auto* apple = dynamic_cast<AppleActivationRequest*>(request.get());
    if (!apple) {
      return;
    }
    apple->setDelegate([[MovaroActivationRequestDelegate alloc]
        initWithRequest:request
               delegate:std::move(delegate)]);
    [OSSystemExtensionManager.sharedManager submitRequest:apple->object()];
  }
};

}  // namespace

std::unique_ptr<SystemExtensions> makeSystemExtensions() {
  return std::make_unique<AppleSystemExtensions>();
}

}  // namespace movaro::platform::apple
