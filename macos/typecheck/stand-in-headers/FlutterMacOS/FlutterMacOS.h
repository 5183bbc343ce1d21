// Stand-in for type-checking only: the FlutterMacOS framework headers this
// project uses (FlutterMacros.h, FlutterBinaryMessenger.h, FlutterCodecs.h,
// FlutterChannels.h, FlutterAppLifecycleDelegate.h, FlutterPluginMacOS.h,
// FlutterPluginRegistrarMacOS.h of the Flutter engine), with the same
// selectors, types, nullability and raw values.
#ifndef MOVARO_STAND_IN_FLUTTERMACOS_H_
#define MOVARO_STAND_IN_FLUTTERMACOS_H_

#import <Cocoa/Cocoa.h>
#import <Foundation/Foundation.h>

#define FLUTTER_DARWIN_EXPORT __attribute__((visibility("default")))

NS_ASSUME_NONNULL_BEGIN

// FlutterBinaryMessenger.h

typedef void (^FlutterBinaryReply)(NSData* _Nullable NS_SWIFT_SENDING reply);
typedef void (^FlutterBinaryMessageHandler)(
    NSData* _Nullable NS_SWIFT_SENDING message,
    FlutterBinaryReply reply);
typedef int64_t FlutterBinaryMessengerConnection;

@protocol FlutterTaskQueue <NSObject>
@end

FLUTTER_DARWIN_EXPORT
@protocol FlutterBinaryMessenger <NSObject>
@optional
- (NSObject<FlutterTaskQueue>*)makeBackgroundTaskQueue;
- (FlutterBinaryMessengerConnection)
    setMessageHandlerOnChannel:(NSString*)channel
          binaryMessageHandler:(FlutterBinaryMessageHandler _Nullable)handler
                     taskQueue:(NSObject<FlutterTaskQueue>* _Nullable)taskQueue;
@required
- (void)sendOnChannel:(NSString*)channel message:(NSData* _Nullable)message;
- (void)sendOnChannel:(NSString*)channel
              message:(NSData* _Nullable)message
          binaryReply:(FlutterBinaryReply _Nullable)callback;
- (FlutterBinaryMessengerConnection)
    setMessageHandlerOnChannel:(NSString*)channel
          binaryMessageHandler:(FlutterBinaryMessageHandler _Nullable)handler;
- (void)cleanUpConnection:(FlutterBinaryMessengerConnection)connection;
@end

// FlutterCodecs.h

FLUTTER_DARWIN_EXPORT
@protocol FlutterMethodCodec
+ (instancetype)sharedInstance;
@end

FLUTTER_DARWIN_EXPORT
@interface FlutterMethodCall : NSObject
+ (instancetype)methodCallWithMethodName:(NSString*)method
                               arguments:(id _Nullable)arguments;
@property(readonly, nonatomic) NSString* method;
@property(readonly, nonatomic, nullable) id arguments;
@end

FLUTTER_DARWIN_EXPORT
@interface FlutterError : NSObject
+ (instancetype)errorWithCode:(NSString*)code
                      message:(NSString* _Nullable)message
                      details:(id _Nullable)details;
@property(readonly, nonatomic) NSString* code;
@property(readonly, nonatomic, nullable) NSString* message;
@property(readonly, nonatomic, nullable) id details;
@end

typedef NS_ENUM(NSInteger, FlutterStandardDataType) {
  FlutterStandardDataTypeUInt8,
  FlutterStandardDataTypeInt32,
  FlutterStandardDataTypeInt64,
  FlutterStandardDataTypeFloat32,
  FlutterStandardDataTypeFloat64,
};

FLUTTER_DARWIN_EXPORT
@interface FlutterStandardTypedData : NSObject
+ (instancetype)typedDataWithBytes:(NSData*)data;
+ (instancetype)typedDataWithInt32:(NSData*)data;
+ (instancetype)typedDataWithInt64:(NSData*)data;
+ (instancetype)typedDataWithFloat32:(NSData*)data;
+ (instancetype)typedDataWithFloat64:(NSData*)data;
@property(readonly, nonatomic) NSData* data;
@property(readonly, nonatomic) FlutterStandardDataType type;
@property(readonly, nonatomic) UInt32 elementCount;
@property(readonly, nonatomic) UInt8 elementSize;
@end

// FlutterChannels.h

typedef void (^FlutterResult)(id _Nullable NS_SWIFT_SENDING result);
typedef void (^FlutterMethodCallHandler)(FlutterMethodCall* call,
                                         FlutterResult result);

FLUTTER_DARWIN_EXPORT
extern NSObject const* FlutterMethodNotImplemented;

FLUTTER_DARWIN_EXPORT
@interface FlutterMethodChannel : NSObject
+ (instancetype)methodChannelWithName:(NSString*)name
                      binaryMessenger:
                          (NSObject<FlutterBinaryMessenger>*)messenger;
+ (instancetype)methodChannelWithName:(NSString*)name
                      binaryMessenger:
                          (NSObject<FlutterBinaryMessenger>*)messenger
                                codec:(NSObject<FlutterMethodCodec>*)codec;
- (void)invokeMethod:(NSString*)method arguments:(id _Nullable)arguments;
- (void)setMethodCallHandler:(FlutterMethodCallHandler _Nullable)handler;
@end

typedef void (^FlutterEventSink)(id _Nullable event);

FLUTTER_DARWIN_EXPORT
@protocol FlutterStreamHandler
- (FlutterError* _Nullable)onListenWithArguments:(id _Nullable)arguments
                                       eventSink:(FlutterEventSink)events;
- (FlutterError* _Nullable)onCancelWithArguments:(id _Nullable)arguments;
@end

FLUTTER_DARWIN_EXPORT
extern NSObject const* FlutterEndOfEventStream;

FLUTTER_DARWIN_EXPORT
@interface FlutterEventChannel : NSObject
+ (instancetype)eventChannelWithName:(NSString*)name
                     binaryMessenger:
                         (NSObject<FlutterBinaryMessenger>*)messenger;
+ (instancetype)eventChannelWithName:(NSString*)name
                     binaryMessenger:
                         (NSObject<FlutterBinaryMessenger>*)messenger
                               codec:(NSObject<FlutterMethodCodec>*)codec;
- (void)setStreamHandler:(NSObject<FlutterStreamHandler>* _Nullable)handler;
@end

// FlutterTexture.h, FlutterPlatformViews.h (names only).

@protocol FlutterTextureRegistry <NSObject>
@end
@protocol FlutterPlatformViewFactory <NSObject>
@end

// FlutterAppLifecycleDelegate.h

@protocol FlutterAppLifecycleDelegate <NSObject>
@optional
- (void)handleWillFinishLaunching:(NSNotification*)notification;
- (void)handleDidFinishLaunching:(NSNotification*)notification;
- (void)handleWillBecomeActive:(NSNotification*)notification;
- (void)handleDidBecomeActive:(NSNotification*)notification;
- (void)handleWillTerminate:(NSNotification*)notification;
@end

NS_ASSUME_NONNULL_END

// FlutterPluginMacOS.h

NS_ASSUME_NONNULL_BEGIN

@protocol FlutterPluginRegistrar;

FLUTTER_DARWIN_EXPORT
@protocol FlutterPlugin <NSObject, FlutterAppLifecycleDelegate>
+ (void)registerWithRegistrar:(id<FlutterPluginRegistrar>)registrar;
@optional
- (void)handleMethodCall:(FlutterMethodCall*)call result:(FlutterResult)result;
@end

NS_ASSUME_NONNULL_END

// FlutterPluginRegistrarMacOS.h

FLUTTER_DARWIN_EXPORT
@protocol FlutterPluginRegistrar <NSObject>
@property(nonnull, readonly) id<FlutterBinaryMessenger> messenger;
@property(nonnull, readonly) id<FlutterTextureRegistry> textures;
@property(nullable, readonly) NSView* view;
- (nullable NSView*)viewForId:(uint64_t)viewId;
- (void)addMethodCallDelegate:(nonnull id<FlutterPlugin>)delegate
                      channel:(nonnull FlutterMethodChannel*)channel;
- (void)registerViewFactory:
            (nonnull NSObject<FlutterPlatformViewFactory>*)factory
                     withId:(nonnull NSString*)factoryId;
@end

@protocol FlutterPluginRegistry <NSObject>
- (nonnull id<FlutterPluginRegistrar>)registrarForPlugin:
    (nonnull NSString*)pluginKey;
@end

#endif  // MOVARO_STAND_IN_FLUTTERMACOS_H_
