#include "flutter_values.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstring>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "bridge/binary_messenger.h"
#include "bridge/method_channel.h"
#include "bridge/standard_codec.h"
#include "platform/apple/conversions_apple.h"

namespace movaro::macos {
namespace {

using platform::apple::toNSString;
using platform::apple::toStdString;

template <typename T>
std::vector<T> elementsOf(NSData* data) {
  std::vector<T> elements(data.length / sizeof(T));
  if (!elements.empty()) {
    std::memcpy(elements.data(), data.bytes, elements.size() * sizeof(T));
  }
  return elements;
}

template <typename T>
NSData* dataOf(const std::vector<T>& elements) {
  return [NSData dataWithBytes:elements.data()
                        length:elements.size() * sizeof(T)];
}

// The standard codec's typed data, at any depth of a value.
std::optional<Value> readTypedData(id object) {
  if (![object isKindOfClass:[FlutterStandardTypedData class]]) {
    return std::nullopt;
  }
  FlutterStandardTypedData* typed = object;
  switch (typed.type) {
    case FlutterStandardDataTypeUInt8:
      return Value(platform::apple::toBytes(typed.data));
    case FlutterStandardDataTypeInt32:
      return Value(elementsOf<int32_t>(typed.data));
    case FlutterStandardDataTypeInt64:
      return Value(elementsOf<int64_t>(typed.data));
    case FlutterStandardDataTypeFloat32:
      return Value(elementsOf<float>(typed.data));
    case FlutterStandardDataTypeFloat64:
      return Value(elementsOf<double>(typed.data));
  }
  return Value();
}

// Bytes and the numeric lists as the standard codec's typed data.
id writeTypedData(const Value& value) {
  if (const auto* bytes = value.getIf<std::vector<uint8_t>>()) {
    return [FlutterStandardTypedData
        typedDataWithBytes:platform::apple::toNSData(*bytes)];
  }
  if (const auto* int32s = value.getIf<std::vector<int32_t>>()) {
    return [FlutterStandardTypedData typedDataWithInt32:dataOf(*int32s)];
  }
  if (const auto* int64s = value.getIf<std::vector<int64_t>>()) {
    return [FlutterStandardTypedData typedDataWithInt64:dataOf(*int64s)];
  }
  if (const auto* floats = value.getIf<std::vector<float>>()) {
    return [FlutterStandardTypedData typedDataWithFloat32:dataOf(*floats)];
  }
  const auto* doubles = value.getIf<std::vector<double>>();
  return [FlutterStandardTypedData
      typedDataWithFloat64:dataOf(doubles ? *doubles : std::vector<double>())];
}

class FlutterMethodResult : public MethodResult {
 public:
  explicit FlutterMethodResult(FlutterResult result) : result_(result) {}

 protected:
  void onSuccess(const Value& value) override {
    result_(value.isNull() ? nil : flutterFromValue(value));
  }
  void onError(const PluginError& error) override {
    result_(flutterError(error));
  }
  void onNotImplemented() override { result_(FlutterMethodNotImplemented); }

 private:
  FlutterResult result_;
};

// The bridge's EventSink writes standard method codec envelopes to a
// messenger; this one reads them back and calls the FlutterEventSink.
class EventSinkMessenger : public BinaryMessenger {
 public:
  explicit EventSinkMessenger(FlutterEventSink events) : events_(events) {}

  void send(const std::string& /*channel*/, const Bytes& message) override {
    if (message.empty()) {
      events_(FlutterEndOfEventStream);
      return;
    }
    std::optional<Envelope> envelope =
        StandardMethodCodec::decodeEnvelope(message.data(), message.size());
    if (!envelope) {
      return;
    }
    if (const auto* success = std::get_if<SuccessEnvelope>(&*envelope)) {
      events_(success->value.isNull() ? nil : flutterFromValue(success->value));
    } else if (const auto* error = std::get_if<ErrorEnvelope>(&*envelope)) {
      events_(flutterError(PluginError{error->code, error->message}));
    }
  }

  void setMessageHandler(const std::string& /*channel*/,
                         BinaryMessageHandler /*handler*/) override {}

 private:
  FlutterEventSink events_;
};

// The sink and the messenger it refers to, kept alive together.
struct FlutterEventSinkHolder {
  explicit FlutterEventSinkHolder(FlutterEventSink events)
      : messenger(events), sink(messenger, "") {}

  EventSinkMessenger messenger;
  EventSink sink;
};

}  // namespace

Value valueFromFlutter(id _Nullable object) {
  return platform::apple::toValue(object, &readTypedData);
}

id flutterFromValue(const Value& value) {
  return platform::apple::toObjC(value, &writeTypedData);
}

MethodCall methodCallFromFlutter(FlutterMethodCall* call) {
  return MethodCall{toStdString(call.method), valueFromFlutter(call.arguments)};
}

FlutterError* flutterError(const PluginError& error) {
  return [FlutterError errorWithCode:toNSString(error.code)
                             message:toNSString(error.message)
                             details:nil];
}

FlutterError* _Nullable flutterError(const std::optional<PluginError>& error) {
  return error ? flutterError(*error) : nil;
}

std::shared_ptr<MethodResult> methodResultFor(FlutterResult result) {
  return std::make_shared<FlutterMethodResult>(result);
}

std::shared_ptr<EventSink> eventSinkFor(FlutterEventSink events) {
  auto holder = std::make_shared<FlutterEventSinkHolder>(events);
  return std::shared_ptr<EventSink>(holder, &holder->sink);
}

void handleGuarded(MethodCallDelegate& delegate,
                   FlutterMethodCall* call,
                   FlutterResult result) noexcept {
  try {
    std::shared_ptr<MethodResult> reply = methodResultFor(result);
    try {
      invokeGuarded(
          [&delegate](const MethodCall& converted,
                      const std::shared_ptr<MethodResult>& answer) {
            delegate.handle(converted, answer);
          },
          methodCallFromFlutter(call), reply, delegate.internalError());
    } catch (...) {
      // The call could not even be read.
      reply->error(internalError());
    }
  } catch (...) {
    result([FlutterError errorWithCode:@"INTERNAL_ERROR"
                               message:nil
                               details:nil]);
  }
}

FlutterError* _Nullable streamCallGuarded(
    const std::function<std::optional<PluginError>()>& call) noexcept {
  try {
    return flutterError(movaro::streamCallGuarded(call));
  } catch (...) {
    return [FlutterError errorWithCode:@"INTERNAL_ERROR"
                               message:nil
                               details:nil];
  }
}

}  // namespace movaro::macos
