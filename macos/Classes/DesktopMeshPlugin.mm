#import "DesktopMeshPlugin.h"

#include <memory>

#include "flutter_values.h"
#include "mesh/desktop_mesh_plugin.h"
#include "plugin_internal.h"

@implementation DesktopMeshPlugin {
  MovaroServicesPointer _services;
  std::shared_ptr<movaro::DesktopMeshPlugin> _plugin;
}

+ (void)registerWithRegistrar:(id<FlutterPluginRegistrar>)registrar {
  FlutterMethodChannel* channel = [FlutterMethodChannel
      methodChannelWithName:@(movaro::DesktopMeshPlugin::kChannel)
            binaryMessenger:registrar.messenger];
  [registrar
      addMethodCallDelegate:
          [[DesktopMeshPlugin alloc]
              initWithServices:std::make_shared<
                                   movaro::platform::apple::AppleServices>()]
                    channel:channel];
}

- (instancetype)initWithServices:(MovaroServicesPointer)services {
  if ((self = [super init])) {
    _services = std::move(services);
    _plugin = movaro::DesktopMeshPlugin::create(_services->services());
  }
  return self;
}

- (void)handleMethodCall:(FlutterMethodCall*)call result:(FlutterResult)result {
  _plugin->handle(movaro::macos::methodCallFromFlutter(call),
                  movaro::macos::methodResultFor(result));
}

@end
