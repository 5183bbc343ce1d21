// Stand-in for type-checking only: CWWiFiClient.h and CWInterface.h of the
// macOS SDK, the declarations this project uses, with the same selectors,
// types and nullability.
#ifndef MOVARO_STAND_IN_COREWLAN_H_
#define MOVARO_STAND_IN_COREWLAN_H_

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

NS_CLASS_AVAILABLE_MAC(10_6)
@interface CWInterface : NSObject
- (nullable NSString*)interfaceName NS_AVAILABLE_MAC(10_7);
- (nullable NSString*)ssid NS_AVAILABLE_MAC(10_6);
- (nullable NSData*)ssidData NS_AVAILABLE_MAC(10_7);
- (nullable NSString*)bssid NS_AVAILABLE_MAC(10_6);
@end

NS_CLASS_AVAILABLE_MAC(10_10)
@interface CWWiFiClient : NSObject
@property(nonatomic, weak) id delegate NS_AVAILABLE_MAC(10_10);
+ (CWWiFiClient*)sharedWiFiClient NS_AVAILABLE_MAC(10_10);
- (instancetype)init NS_AVAILABLE_MAC(10_10);
- (nullable CWInterface*)interface NS_AVAILABLE_MAC(10_10);
+ (nullable NSArray<NSString*>*)interfaceNames NS_AVAILABLE_MAC(10_10);
- (nullable CWInterface*)interfaceWithName:(nullable NSString*)interfaceName
    NS_AVAILABLE_MAC(10_10);
@end

NS_ASSUME_NONNULL_END

#endif  // MOVARO_STAND_IN_COREWLAN_H_
