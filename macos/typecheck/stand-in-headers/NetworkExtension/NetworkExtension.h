// Stand-in for type-checking only: the NetworkExtension declarations this
// project uses, copied in substance from the macOS SDK headers
// (NEVPNManager.h, NETunnelProviderManager.h, NEVPNProtocol.h,
// NETunnelProviderProtocol.h, NEVPNConnection.h, NETunnelProviderSession.h,
// NEOnDemandRule.h): same selectors, types, nullability and raw values.
// Laid out as the SDK lays it out (clang-format 14 cannot keep class
// annotations stable).
// clang-format off
#ifndef MOVARO_STAND_IN_NETWORKEXTENSION_H_
#define MOVARO_STAND_IN_NETWORKEXTENSION_H_

#import <Foundation/Foundation.h>

#ifdef __cplusplus
#define NEVPN_EXPORT extern "C"
#else
#define NEVPN_EXPORT extern
#endif

NS_ASSUME_NONNULL_BEGIN

@class NEVPNConnection;
@class NEVPNManager;
@class NEVPNProtocol;
@class NEOnDemandRule;

// NEVPNManager.h

typedef NS_ENUM(NSInteger, NEVPNError) {
  NEVPNErrorConfigurationInvalid = 1,
  NEVPNErrorConfigurationDisabled = 2,
  NEVPNErrorConnectionFailed = 3,
  NEVPNErrorConfigurationStale = 4,
  NEVPNErrorConfigurationReadWriteFailed = 5,
  NEVPNErrorConfigurationUnknown = 6,
} API_AVAILABLE(macos(10.11), ios(8.0)) API_UNAVAILABLE(watchos, tvos);

NEVPN_EXPORT NSString* const NEVPNErrorDomain API_AVAILABLE(macos(10.11));
NEVPN_EXPORT NSString* const NEVPNConfigurationChangeNotification
    API_AVAILABLE(macos(10.11));

API_AVAILABLE(macos(10.11), ios(8.0)) API_UNAVAILABLE(watchos, tvos)
@interface NEVPNManager : NSObject
+ (NEVPNManager*)sharedManager API_AVAILABLE(macos(10.11));
- (void)loadFromPreferencesWithCompletionHandler:
    (void (^)(NSError* __nullable error))completionHandler
    API_AVAILABLE(macos(10.11));
- (void)removeFromPreferencesWithCompletionHandler:
    (nullable void (^)(NSError* __nullable error))completionHandler
    API_AVAILABLE(macos(10.11));
- (void)saveToPreferencesWithCompletionHandler:
    (nullable void (^)(NSError* __nullable error))completionHandler
    API_AVAILABLE(macos(10.11));
@property(copy, nullable) NSArray<NEOnDemandRule*>* onDemandRules
    API_AVAILABLE(macos(10.11));
@property(getter=isOnDemandEnabled) BOOL onDemandEnabled
    API_AVAILABLE(macos(10.11));
@property(copy, nullable) NSString* localizedDescription
    API_AVAILABLE(macos(10.11));
@property(strong, nullable) NEVPNProtocol* protocolConfiguration
    API_AVAILABLE(macos(10.11));
@property(readonly) NEVPNConnection* connection API_AVAILABLE(macos(10.11));
@property(getter=isEnabled) BOOL enabled API_AVAILABLE(macos(10.11));
@end

// NETunnelProviderManager.h

API_AVAILABLE(macos(10.11), ios(9.0)) API_UNAVAILABLE(tvos)
@interface NETunnelProviderManager : NEVPNManager
+ (void)loadAllFromPreferencesWithCompletionHandler:
    (void (^)(NSArray<NETunnelProviderManager*>* __nullable managers,
              NSError* __nullable error))completionHandler
    API_AVAILABLE(macos(10.11));
@end

// NEVPNProtocol.h

API_AVAILABLE(macos(10.11), ios(8.0)) API_UNAVAILABLE(tvos)
@interface NEVPNProtocol : NSObject <NSCopying, NSSecureCoding>
@property(copy, nullable) NSString* serverAddress API_AVAILABLE(macos(10.11));
@property(copy, nullable) NSString* username API_AVAILABLE(macos(10.11));
@property(copy, nullable) NSData* passwordReference
    API_AVAILABLE(macos(10.11));
@property BOOL disconnectOnSleep API_AVAILABLE(macos(10.11));
@property BOOL includeAllNetworks API_AVAILABLE(macos(10.15), ios(14.0));
@property BOOL excludeLocalNetworks API_AVAILABLE(macos(10.15), ios(14.2));
@property BOOL enforceRoutes API_AVAILABLE(macos(11.0), ios(14.2));
@end

// NETunnelProviderProtocol.h

API_AVAILABLE(macos(10.11), ios(9.0)) API_UNAVAILABLE(watchos, tvos)
@interface NETunnelProviderProtocol : NEVPNProtocol
@property(copy, nullable) NSDictionary<NSString*, id>* providerConfiguration
    API_AVAILABLE(macos(10.11));
@property(copy, nullable) NSString* providerBundleIdentifier
    API_AVAILABLE(macos(10.11));
@end

// NEVPNConnection.h

typedef NS_ENUM(NSInteger, NEVPNStatus) {
  NEVPNStatusInvalid = 0,
  NEVPNStatusDisconnected = 1,
  NEVPNStatusConnecting = 2,
  NEVPNStatusConnected = 3,
  NEVPNStatusReasserting = 4,
  NEVPNStatusDisconnecting = 5,
} API_AVAILABLE(macos(10.11), ios(8.0)) API_UNAVAILABLE(watchos);

NEVPN_EXPORT NSString* const NEVPNStatusDidChangeNotification
    API_AVAILABLE(macos(10.11));
NEVPN_EXPORT NSString* const NEVPNConnectionStartOptionUsername
    API_AVAILABLE(macos(10.11));
NEVPN_EXPORT NSString* const NEVPNConnectionStartOptionPassword
    API_AVAILABLE(macos(10.11));

typedef NS_ENUM(NSInteger, NEVPNConnectionError) {
  NEVPNConnectionErrorOverslept = 1,
  NEVPNConnectionErrorNoNetworkAvailable = 2,
  NEVPNConnectionErrorUnrecoverableNetworkChange = 3,
  NEVPNConnectionErrorConfigurationFailed = 4,
  NEVPNConnectionErrorServerAddressResolutionFailed = 5,
  NEVPNConnectionErrorServerNotResponding = 6,
  NEVPNConnectionErrorServerDead = 7,
  NEVPNConnectionErrorAuthenticationFailed = 8,
  NEVPNConnectionErrorClientCertificateInvalid = 9,
  NEVPNConnectionErrorClientCertificateNotYetValid = 10,
  NEVPNConnectionErrorClientCertificateExpired = 11,
  NEVPNConnectionErrorPluginFailed = 12,
  NEVPNConnectionErrorConfigurationNotFound = 13,
  NEVPNConnectionErrorPluginDisabled = 14,
  NEVPNConnectionErrorNegotiationFailed = 15,
  NEVPNConnectionErrorServerDisconnected = 16,
  NEVPNConnectionErrorServerCertificateInvalid = 17,
  NEVPNConnectionErrorServerCertificateNotYetValid = 18,
  NEVPNConnectionErrorServerCertificateExpired = 19,
} API_AVAILABLE(macos(13.0), ios(16.0), tvos(17.0)) API_UNAVAILABLE(watchos);

NEVPN_EXPORT NSString* const NEVPNConnectionErrorDomain
    API_AVAILABLE(macos(13.0), ios(16.0));

API_AVAILABLE(macos(10.11), ios(8.0)) API_UNAVAILABLE(watchos)
@interface NEVPNConnection : NSObject
- (BOOL)startVPNTunnelAndReturnError:(NSError**)error
    API_AVAILABLE(macos(10.11));
- (BOOL)startVPNTunnelWithOptions:
            (nullable NSDictionary<NSString*, NSObject*>*)options
                   andReturnError:(NSError**)error API_AVAILABLE(macos(10.11));
- (void)stopVPNTunnel API_AVAILABLE(macos(10.11));
- (void)fetchLastDisconnectErrorWithCompletionHandler:
    (void (^)(NSError* _Nullable))handler
    API_AVAILABLE(macos(13.0), ios(16.0), tvos(17.0));
@property(readonly) NEVPNStatus status API_AVAILABLE(macos(10.11));
@property(readonly, nullable) NSDate* connectedDate
    API_AVAILABLE(macos(10.11));
@property(readonly) NEVPNManager* manager API_AVAILABLE(macos(10.12));
@end

// NETunnelProviderSession.h

API_AVAILABLE(macos(10.11), ios(9.0)) API_UNAVAILABLE(tvos)
@interface NETunnelProviderSession : NEVPNConnection
- (BOOL)startTunnelWithOptions:(nullable NSDictionary<NSString*, id>*)options
                andReturnError:(NSError**)error API_AVAILABLE(macos(10.11));
- (void)stopTunnel API_AVAILABLE(macos(10.11));
- (BOOL)sendProviderMessage:(NSData*)messageData
                returnError:(NSError**)error
            responseHandler:
                (nullable void (^)(NSData* __nullable responseData))
                    responseHandler API_AVAILABLE(macos(10.11));
@end

// NEOnDemandRule.h

typedef NS_ENUM(NSInteger, NEOnDemandRuleAction) {
  NEOnDemandRuleActionConnect = 1,
  NEOnDemandRuleActionDisconnect = 2,
  NEOnDemandRuleActionEvaluateConnection = 3,
  NEOnDemandRuleActionIgnore = 4,
} API_AVAILABLE(macos(10.11), ios(8.0)) API_UNAVAILABLE(watchos, tvos);

typedef NS_ENUM(NSInteger, NEOnDemandRuleInterfaceType) {
  NEOnDemandRuleInterfaceTypeAny API_AVAILABLE(macos(10.11), ios(9.0)) = 0,
  NEOnDemandRuleInterfaceTypeEthernet API_AVAILABLE(macos(10.11))
      API_UNAVAILABLE(ios) = 1,
  NEOnDemandRuleInterfaceTypeWiFi API_AVAILABLE(macos(10.11), ios(8.0)) = 2,
  NEOnDemandRuleInterfaceTypeCellular API_AVAILABLE(ios(8.0))
      API_UNAVAILABLE(macos) MOVARO_UNAVAILABLE_ON_MACOS = 3,
} API_AVAILABLE(macos(10.11), ios(8.0)) API_UNAVAILABLE(watchos, tvos);

API_AVAILABLE(macos(10.11), ios(8.0)) API_UNAVAILABLE(watchos, tvos)
@interface NEOnDemandRule : NSObject <NSSecureCoding, NSCopying>
@property(readonly) NEOnDemandRuleAction action API_AVAILABLE(macos(10.11));
@property(copy, nullable) NSArray<NSString*>* DNSSearchDomainMatch
    API_AVAILABLE(macos(10.11));
@property(copy, nullable) NSArray<NSString*>* DNSServerAddressMatch
    API_AVAILABLE(macos(10.11));
@property NEOnDemandRuleInterfaceType interfaceTypeMatch
    API_AVAILABLE(macos(10.11));
@property(copy, nullable) NSArray<NSString*>* SSIDMatch
    API_AVAILABLE(macos(10.11));
@property(copy, nullable) NSURL* probeURL API_AVAILABLE(macos(10.11));
@end

API_AVAILABLE(macos(10.11), ios(8.0)) API_UNAVAILABLE(watchos, tvos)
@interface NEOnDemandRuleConnect : NEOnDemandRule
@end

API_AVAILABLE(macos(10.11), ios(8.0)) API_UNAVAILABLE(watchos, tvos)
@interface NEOnDemandRuleDisconnect : NEOnDemandRule
@end

API_AVAILABLE(macos(10.11), ios(8.0)) API_UNAVAILABLE(watchos, tvos)
@interface NEOnDemandRuleIgnore : NEOnDemandRule
@end

NS_ASSUME_NONNULL_END

#endif  // MOVARO_STAND_IN_NETWORKEXTENSION_H_
// clang-format on
