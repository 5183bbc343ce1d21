// The mesh plugin's own registration entry binds the
// "com.quillfen.halvorn/mesh" method channel alone; MovaroPlatformPlugin's
// entry binds it as well, and does not call this one.
#import <FlutterMacOS/FlutterMacOS.h>

NS_ASSUME_NONNULL_BEGIN

@interface DesktopMeshPlugin : NSObject <FlutterPlugin>
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

NS_ASSUME_NONNULL_END
