// CoreWLAN and CoreLocation: the default Wi-Fi interface's network name, and
// location managers whose authorisation changes reach the C++ delegate
// through a small delegate object. CLLocationManager calls its delegate on
// the thread that created it, the main thread here.
#include "platform/wifi_location.h"

#import <CoreLocation/CoreLocation.h>
#import <CoreWLAN/CoreWLAN.h>
#import <Foundation/Foundation.h>

#include <memory>

#include "platform/apple/adapters_apple.h"
#include "platform/apple/conversions_apple.h"

using movaro::platform::LocationManager;
using movaro::platform::LocationManagerDelegate;

@interface MovaroLocationDelegate : NSObject <CLLocationManagerDelegate>
- (instancetype)initWithManager:(CLLocationManager*)manager
                        wrapper:(std::weak_ptr<LocationManager>)wrapper
                       delegate:
                           (std::weak_ptr<LocationManagerDelegate>)delegate;
@end

@implementation MovaroLocationDelegate {
  __weak CLLocationManager* _manager;
  std::weak_ptr<LocationManager> _wrapper;
  std::weak_ptr<LocationManagerDelegate> _delegate;
}

- (instancetype)initWithManager:(CLLocationManager*)manager
                        wrapper:(std::weak_ptr<LocationManager>)wrapper
                       delegate:
                           (std::weak_ptr<LocationManagerDelegate>)delegate {
  if ((self = [super init])) {
    _manager = manager;
    _wrapper = std::move(wrapper);
    _delegate = std::move(delegate);
  }
  return self;
}

- (void)locationManagerDidChangeAuthorization:(CLLocationManager*)manager {
  movaro::platform::apple::guarded([&] {
    std::shared_ptr<LocationManager> wrapper = _wrapper.lock();
    std::shared_ptr<LocationManagerDelegate> delegate = _delegate.lock();
    if (wrapper && delegate && manager == _manager) {
      delegate->locationManagerDidChangeAuthorization(*wrapper);
    }
  });
}

@end

namespace movaro::platform::apple {
namespace {

class AppleWifiClient : public WifiClient {
 public:
  std::optional<std::string> currentSsid() const override {
    CWInterface* interface = [CWWiFiClient.sharedWiFiClient interface];
    return toOptionalString([interface ssid]);
  }
};

class AppleLocationManager
    : public LocationManager,
      public std::enable_shared_from_this<AppleLocationManager> {
 public:
  AppleLocationManager() : manager_([[CLLocationManager alloc] init]) {}

  int authorizationStatus() const override {
    return static_cast<int>(manager_.authorizationStatus);
  }

  // CLLocationManager holds its delegate weakly: the wrapper keeps the
  // delegate object.
  void setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) override {
    delegate_ =
        [[MovaroLocationDelegate alloc] initWithManager:manager_
                                                wrapper:weak_from_this()
                                               delegate:std::move(delegate)];
    manager_.delegate = delegate_;
  }

  void requestWhenInUseAuthorization() override {
    [manager_ requestWhenInUseAuthorization];
  }

 private:
  CLLocationManager* manager_;
  MovaroLocationDelegate* delegate_ = nil;
};

class AppleLocation : public Location {
 public:
  std::shared_ptr<LocationManager> makeLocationManager() override {
    return std::make_shared<AppleLocationManager>();
  }
};

}  // namespace

std::unique_ptr<WifiClient> makeWifiClient() {
  return std::make_unique<AppleWifiClient>();
}

std::unique_ptr<Location> makeLocation() {
  return std::make_unique<AppleLocation>();
}

}  // namespace movaro::platform::apple
