// CoreWLAN and CoreLocation: the current Wi-Fi network name and the
// location authorisation it needs.
#ifndef MOVARO_PLATFORM_WIFI_LOCATION_H_
#define MOVARO_PLATFORM_WIFI_LOCATION_H_

#include <memory>
#include <optional>
#include <string>

namespace movaro::platform {

class WifiClient {
 public:
  virtual ~WifiClient() = default;
  // The default interface's network name; absent without an interface or
  // without a name.
  virtual std::optional<std::string> currentSsid() const = 0;
};

// CLAuthorizationStatus raw values.
enum LocationAuthorization : int {
  kLocationNotDetermined = 0,
  kLocationRestricted = 1,
  kLocationDenied = 2,
  kLocationAuthorizedAlways = 3,
  kLocationAuthorizedWhenInUse = 4,
};

class LocationManager;

class LocationManagerDelegate {
 public:
  virtual ~LocationManagerDelegate() = default;
  // Delivered on the main thread.
  virtual void locationManagerDidChangeAuthorization(
      LocationManager& manager) = 0;
};

class LocationManager {
 public:
  virtual ~LocationManager() = default;
  virtual int authorizationStatus() const = 0;
  // Held weakly, as macOS does.
  virtual void setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) = 0;
  virtual void requestWhenInUseAuthorization() = 0;
};

class Location {
 public:
  virtual ~Location() = default;
  virtual std::shared_ptr<LocationManager> makeLocationManager() = 0;
};

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_WIFI_LOCATION_H_
