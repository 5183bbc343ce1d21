// What the two plugin classes share beyond their public headers: their
// initialisers, which take the macOS services. For Objective-C++ files only.
#ifndef MOVARO_MACOS_CLASSES_PLUGIN_INTERNAL_H_
#define MOVARO_MACOS_CLASSES_PLUGIN_INTERNAL_H_

#if !defined(__OBJC__) || !defined(__cplusplus)
#error "plugin_internal.h is for Objective-C++ files."
#endif

#import "DesktopMeshPlugin.h"
#import "MovaroPlatformPlugin.h"

#include <memory>

#include "platform/apple/apple_services.h"

NS_ASSUME_NONNULL_BEGIN

// The services live as long as the longest-lived plugin object that holds
// them.
using MovaroServicesPointer =
    std::shared_ptr<movaro::platform::apple::AppleServices>;

@interface DesktopMeshPlugin ()
- (instancetype)initWithServices:(MovaroServicesPointer)services
    NS_DESIGNATED_INITIALIZER;
@end

@interface MovaroPlatformPlugin ()
- (instancetype)initWithServices:(MovaroServicesPointer)services
    NS_DESIGNATED_INITIALIZER;
@end

NS_ASSUME_NONNULL_END

#endif  // MOVARO_MACOS_CLASSES_PLUGIN_INTERNAL_H_
