// The FlutterMacOS side of the bridge: the standard codec's objects and this
// project's values, method calls, one-shot results, errors and event sinks.
// For Objective-C++ files only.
#ifndef MOVARO_MACOS_CLASSES_FLUTTER_VALUES_H_
#define MOVARO_MACOS_CLASSES_FLUTTER_VALUES_H_

#if !defined(__OBJC__) || !defined(__cplusplus)
#error "flutter_values.h is for Objective-C++ files."
#endif

#import <FlutterMacOS/FlutterMacOS.h>

#include <functional>
#include <memory>
#include <optional>

#include "bridge/event_channel.h"
#include "bridge/method_call.h"
#include "bridge/method_result.h"
#include "bridge/registrar.h"
#include "bridge/value.h"

NS_ASSUME_NONNULL_BEGIN

namespace movaro::macos {

// What the standard codec hands over: nil and NSNull are null; NSNumber as
// the codec wrote it (CFBoolean, 32- or 64-bit integer, double); NSString;
// FlutterStandardTypedData by its element type; NSArray; NSDictionary.
// Anything else reads as null.
Value valueFromFlutter(id _Nullable object);

// An object the standard codec carries, for every kind of value: NSNull,
// NSNumber (booleans as the CFBoolean singletons, int32 as int, int64 as
// long long, doubles), NSString, FlutterStandardTypedData for the byte and
// numeric lists (Float32 included), NSArray, and NSDictionary whose keys
// are retained rather than copied, so that typed-data keys need no
// NSCopying.
id flutterFromValue(const Value& value);

MethodCall methodCallFromFlutter(FlutterMethodCall* call);

// Details are always nil.
FlutterError* flutterError(const PluginError& error);
FlutterError* _Nullable flutterError(const std::optional<PluginError>& error);

// A one-shot result answered through the callback: nil for a null success,
// a FlutterError, or FlutterMethodNotImplemented.
std::shared_ptr<MethodResult> methodResultFor(FlutterResult result);

// An event sink whose events, errors and end of stream go to the callback.
std::shared_ptr<EventSink> eventSinkFor(FlutterEventSink events);

// handleMethodCall:result: of a plugin class: the call converted and handed
// to the delegate. No exception leaves it; a call that throws, even while
// it is read, is answered once with an internal error.
void handleGuarded(MethodCallDelegate& delegate,
                   FlutterMethodCall* call,
                   FlutterResult result) noexcept;

// onListen or onCancel of the stream handler, as its FlutterError. No
// exception leaves it; one that is thrown becomes an internal error.
FlutterError* _Nullable streamCallGuarded(
    const std::function<std::optional<PluginError>()>& call) noexcept;

}  // namespace movaro::macos

NS_ASSUME_NONNULL_END

#endif  // MOVARO_MACOS_CLASSES_FLUTTER_VALUES_H_
