#import "MovaroPlatformPlugin.h"

#include <memory>

#include "flutter_values.h"
#include "mesh/desktop_mesh_plugin.h"
#include "plugin_internal.h"
#include "tunnel/movaro_platform_plugin.h"

using movaro::macos::eventSinkFor;
using movaro::macos::handleGuarded;
using movaro::macos::streamCallGuarded;
using movaro::macos::valueFromFlutter;

@implementation MovaroPlatformPlugin {
  MovaroServicesPointer _services;
  std::shared_ptr<movaro::MovaroPlatformPlugin> _plugin;
  // The sink of the stream being listened to, so that a cancel stops it.
  std::shared_ptr<movaro::EventSink> _eventSink;
}

+ (void)registerWithRegistrar:(id<FlutterPluginRegistrar>)registrar {
  // Nothing is bound when the services cannot be made; no exception
  // reaches the registrant.
  try {
    auto services = std::make_shared<movaro::platform::apple::AppleServices>();
    FlutterMethodChannel* meshChannel = [FlutterMethodChannel
        methodChannelWithName:@(movaro::DesktopMeshPlugin::kChannel)
              binaryMessenger:registrar.messenger];
    [registrar addMethodCallDelegate:[[DesktopMeshPlugin alloc]
                                         initWithServices:services]
                             channel:meshChannel];
    FlutterMethodChannel* channel = [FlutterMethodChannel
        methodChannelWithName:@(movaro::MovaroPlatformPlugin::kChannel)
              binaryMessenger:registrar.messenger];
    FlutterEventChannel* events = [FlutterEventChannel
        eventChannelWithName:@(movaro::MovaroPlatformPlugin::kEventChannel)
             binaryMessenger:registrar.messenger];
    MovaroPlatformPlugin* plugin =
        [[MovaroPlatformPlugin alloc] initWithServices:services];
    [registrar addMethodCallDelegate:plugin channel:channel];
    [events setStreamHandler:plugin];
  } catch (...) {
  }
}

- (instancetype)initWithServices:(MovaroServicesPointer)services {
  if ((self = [super init])) {
    _services = std::move(services);
    _plugin = movaro::MovaroPlatformPlugin::create(_services->services());
  }
  return self;
}

- (void)handleMethodCall:(FlutterMethodCall*)call result:(FlutterResult)result {
  handleGuarded(*_plugin, call, result);
}

- (FlutterError* _Nullable)onListenWithArguments:(id _Nullable)arguments
                                       eventSink:(FlutterEventSink)events {
  return streamCallGuarded([&] {
    if (_eventSink) {
      _eventSink->deactivate();
    }
    _eventSink = eventSinkFor(events);
    return _plugin->onListen(valueFromFlutter(arguments), _eventSink);
  });
}

- (FlutterError* _Nullable)onCancelWithArguments:(id _Nullable)arguments {
  return streamCallGuarded([&] {
    if (_eventSink) {
      _eventSink->deactivate();
      _eventSink.reset();
    }
    return _plugin->onCancel(valueFromFlutter(arguments));
  });
}

@end
