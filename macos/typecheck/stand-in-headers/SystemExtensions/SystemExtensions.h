// Stand-in for type-checking only: SystemExtensions.h of the macOS SDK, the
// declarations this project uses, with the same selectors, types,
// nullability and raw values. Laid out as the SDK lays it out (clang-format
// 14 cannot keep class annotations stable).
// clang-format off
#ifndef MOVARO_STAND_IN_SYSTEMEXTENSIONS_H_
#define MOVARO_STAND_IN_SYSTEMEXTENSIONS_H_

#import <Foundation/Foundation.h>
#include <dispatch/dispatch.h>

NS_ASSUME_NONNULL_BEGIN

@protocol OSSystemExtensionRequestDelegate;

OS_EXPORT API_AVAILABLE(macos(10.15)) API_UNAVAILABLE(ios, watchos, tvos)
NSErrorDomain const OSSystemExtensionErrorDomain;

typedef NS_ERROR_ENUM(OSSystemExtensionErrorDomain, OSSystemExtensionErrorCode) {
  OSSystemExtensionErrorUnknown = 1,
  OSSystemExtensionErrorMissingEntitlement = 2,
  OSSystemExtensionErrorUnsupportedParentBundleLocation = 3,
  OSSystemExtensionErrorExtensionNotFound = 4,
  OSSystemExtensionErrorExtensionMissingIdentifier = 5,
  OSSystemExtensionErrorDuplicateExtensionIdentifer = 6,
  OSSystemExtensionErrorUnknownExtensionCategory = 7,
  OSSystemExtensionErrorCodeSignatureInvalid = 8,
  OSSystemExtensionErrorValidationFailed = 9,
  OSSystemExtensionErrorForbiddenBySystemPolicy = 10,
  OSSystemExtensionErrorRequestCanceled = 11,
  OSSystemExtensionErrorRequestSuperseded = 12,
  OSSystemExtensionErrorAuthorizationRequired = 13,
} NS_ENUM_AVAILABLE_MAC(10.15);

typedef NS_ENUM(NSInteger, OSSystemExtensionReplacementAction) {
  OSSystemExtensionReplacementActionCancel,
  OSSystemExtensionReplacementActionReplace,
} NS_SWIFT_NAME(OSSystemExtensionRequest.ReplacementAction)
    NS_ENUM_AVAILABLE_MAC(10.15);

typedef NS_ENUM(NSInteger, OSSystemExtensionRequestResult) {
  OSSystemExtensionRequestCompleted,
  OSSystemExtensionRequestWillCompleteAfterReboot,
} NS_SWIFT_NAME(OSSystemExtensionRequest.Result) NS_ENUM_AVAILABLE_MAC(10.15);

OS_EXPORT API_AVAILABLE(macos(10.15)) API_UNAVAILABLE(ios, watchos, tvos)
@interface OSSystemExtensionRequest : NSObject
+ (instancetype)activationRequestForExtension:(NSString*)identifier
                                        queue:(dispatch_queue_t)queue
    NS_SWIFT_NAME(activationRequest(forExtensionWithIdentifier:queue:))
        API_AVAILABLE(macos(10.15));
+ (instancetype)deactivationRequestForExtension:(NSString*)identifier
                                          queue:(dispatch_queue_t)queue
    NS_SWIFT_NAME(deactivationRequest(forExtensionWithIdentifier:queue:))
        API_AVAILABLE(macos(10.15));
@property(weak, nonatomic) id<OSSystemExtensionRequestDelegate> delegate
    API_AVAILABLE(macos(10.15));
@property(readonly, nonatomic) NSString* identifier API_AVAILABLE(macos(10.15));
@end

OS_EXPORT API_AVAILABLE(macos(10.15)) API_UNAVAILABLE(ios, watchos, tvos)
@interface OSSystemExtensionProperties : NSObject
@property(strong, readonly) NSURL* URL API_AVAILABLE(macos(10.15));
@property(strong, readonly) NSString* bundleIdentifier
    API_AVAILABLE(macos(10.15));
@property(strong, readonly) NSString* bundleVersion
    API_AVAILABLE(macos(10.15));
@property(strong, readonly) NSString* bundleShortVersion
    API_AVAILABLE(macos(10.15));
@end

API_AVAILABLE(macos(10.15)) API_UNAVAILABLE(ios, watchos, tvos)
@protocol OSSystemExtensionRequestDelegate <NSObject>
@required
- (OSSystemExtensionReplacementAction)request:(OSSystemExtensionRequest*)request
                  actionForReplacingExtension:(OSSystemExtensionProperties*)existing
                                withExtension:(OSSystemExtensionProperties*)ext
    API_AVAILABLE(macos(10.15));
- (void)requestNeedsUserApproval:(OSSystemExtensionRequest*)request
    API_AVAILABLE(macos(10.15));
- (void)request:(OSSystemExtensionRequest*)request
    didFinishWithResult:(OSSystemExtensionRequestResult)result
    NS_SWIFT_NAME(request(_:didFinishWithResult:)) API_AVAILABLE(macos(10.15));
- (void)request:(OSSystemExtensionRequest*)request
    didFailWithError:(NSError*)error API_AVAILABLE(macos(10.15));
@end

OS_EXPORT API_AVAILABLE(macos(10.15)) API_UNAVAILABLE(ios, watchos, tvos)
@interface OSSystemExtensionManager : NSObject
- (instancetype)init NS_UNAVAILABLE;
- (instancetype)new NS_UNAVAILABLE;
@property(class, readonly) OSSystemExtensionManager* sharedManager
    API_AVAILABLE(macos(10.15));
- (void)submitRequest:(OSSystemExtensionRequest*)request
    API_AVAILABLE(macos(10.15));
@end

NS_ASSUME_NONNULL_END

#endif  // MOVARO_STAND_IN_SYSTEMEXTENSIONS_H_
// clang-format on
