// Stand-in for type-checking only: CLLocationManager.h and
// CLLocationManagerDelegate.h of the macOS SDK, the declarations this
// project uses, with the same selectors, types, nullability and raw values.
#ifndef MOVARO_STAND_IN_CORELOCATION_H_
#define MOVARO_STAND_IN_CORELOCATION_H_

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(int, CLAuthorizationStatus) {
  kCLAuthorizationStatusNotDetermined = 0,
  kCLAuthorizationStatusRestricted,
  kCLAuthorizationStatusDenied,
  kCLAuthorizationStatusAuthorizedAlways API_AVAILABLE(macos(10.12), ios(8.0)),
  kCLAuthorizationStatusAuthorizedWhenInUse API_AVAILABLE(ios(8.0))
      API_UNAVAILABLE(macos) MOVARO_UNAVAILABLE_ON_MACOS,
  kCLAuthorizationStatusAuthorized API_AVAILABLE(macos(10.6))
      API_UNAVAILABLE(watchos, tvos) = kCLAuthorizationStatusAuthorizedAlways
};

@protocol CLLocationManagerDelegate;

API_AVAILABLE(macos(10.6), ios(2.0))
@interface CLLocationManager : NSObject
+ (BOOL)locationServicesEnabled API_AVAILABLE(ios(4.0), macos(10.7));
@property(nonatomic, readonly) CLAuthorizationStatus authorizationStatus
    API_AVAILABLE(ios(14.0), macos(11.0), watchos(7.0), tvos(14.0));
+ (CLAuthorizationStatus)
    authorizationStatus API_DEPRECATED_WITH_REPLACEMENT("-authorizationStatus",
                                                        ios(4.2, 14.0),
                                                        macos(10.7, 11.0),
                                                        watchos(1.0, 7.0),
                                                        tvos(9.0, 14.0));
@property(weak, nonatomic, nullable) id<CLLocationManagerDelegate> delegate;
- (void)requestWhenInUseAuthorization API_AVAILABLE(ios(8.0), macos(10.15));
- (void)requestAlwaysAuthorization API_AVAILABLE(ios(8.0), macos(10.15));
@end

@protocol CLLocationManagerDelegate <NSObject>
@optional
- (void)locationManagerDidChangeAuthorization:(CLLocationManager*)manager
    API_AVAILABLE(ios(14.0), macos(11.0), watchos(7.0), tvos(14.0));
- (void)locationManager:(CLLocationManager*)manager
       didFailWithError:(NSError*)error;
@end

NS_ASSUME_NONNULL_END

#endif  // MOVARO_STAND_IN_CORELOCATION_H_
