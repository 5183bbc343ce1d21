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
  // Nothing is bound when the services cannot be made; no exception
  // reaches the registrant.
  try {
    FlutterMethodChannel* channel = [FlutterMethodChannel
        methodChannelWithName:@(movaro::DesktopMeshPlugin::kChannel)
              binaryMessenger:registrar.messenger];
    [registrar
        addMethodCallDelegate:
            [[DesktopMeshPlugin alloc]
                initWithServices:std::make_shared<
                                     movaro::platform::apple::AppleServices>()]
                      channel:channel];
  } catch (...) {
  }
}

- (instancetype)initWithServices:(MovaroServicesPointer)services {
  if ((self = [super init])) {
    _services = std::move(services);
    _plugin = movaro::DesktopMeshPlugin::create(_services->services());
  }
  return self;
}

- (void)handleMethodCall:(FlutterMethodCall*)call result:(FlutterResult)result {
  movaro::macos::handleGuarded(*_plugin, call, result);
}

@end
