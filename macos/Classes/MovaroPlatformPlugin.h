// The registration entry of the platform layer: binds the mesh channel to a
// new DesktopMeshPlugin, then the "movaro_platform" method channel and the
// "movaro_platform/events" event channel to one new MovaroPlatformPlugin.
#import <FlutterMacOS/FlutterMacOS.h>

NS_ASSUME_NONNULL_BEGIN

@interface MovaroPlatformPlugin : NSObject <FlutterPlugin, FlutterStreamHandler>
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

NS_ASSUME_NONNULL_END
