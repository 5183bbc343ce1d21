#include "flutter_values.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstring>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "bridge/binary_messenger.h"
#include "bridge/standard_codec.h"
#include "platform/apple/conversions_apple.h"

namespace movaro::macos {
namespace {

using platform::apple::toNSData;
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

Value typedDataValue(FlutterStandardTypedData* typed) {
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

// A mutable dictionary that retains its keys instead of copying them.
NSMutableDictionary* retainingDictionary() {
  return (__bridge_transfer NSMutableDictionary*)CFDictionaryCreateMutable(
      kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
      &kCFTypeDictionaryValueCallBacks);
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
  if ([object isKindOfClass:[FlutterStandardTypedData class]]) {
    return typedDataValue(object);
  }
  if ([object isKindOfClass:[NSArray class]]) {
    ValueList list;
    for (id element in static_cast<NSArray*>(object)) {
      list.push_back(valueFromFlutter(element));
    }
    return Value(std::move(list));
  }
  if ([object isKindOfClass:[NSDictionary class]]) {
    NSDictionary* dictionary = object;
    ValueMap::Entries entries;
    entries.reserve(dictionary.count);
    for (id key in dictionary) {
      entries.emplace_back(valueFromFlutter(key),
                           valueFromFlutter(dictionary[key]));
    }
    return Value(ValueMap::fromEntries(std::move(entries)));
  }
  return platform::apple::toValue(object);
}

id flutterFromValue(const Value& value) {
  return std::visit(
      [](const auto& content) -> id {
        using T = std::decay_t<decltype(content)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          return [NSNull null];
        } else if constexpr (std::is_same_v<T, bool>) {
          return content ? @YES : @NO;
        } else if constexpr (std::is_same_v<T, int32_t>) {
          return [NSNumber numberWithInt:content];
        } else if constexpr (std::is_same_v<T, int64_t>) {
          return [NSNumber numberWithLongLong:content];
        } else if constexpr (std::is_same_v<T, double>) {
          return [NSNumber numberWithDouble:content];
        } else if constexpr (std::is_same_v<T, std::string>) {
          return toNSString(content);
        } else if constexpr (std::is_same_v<T, std::vector<uint8_t>>) {
          return
              [FlutterStandardTypedData typedDataWithBytes:toNSData(content)];
        } else if constexpr (std::is_same_v<T, std::vector<int32_t>>) {
          return [FlutterStandardTypedData typedDataWithInt32:dataOf(content)];
        } else if constexpr (std::is_same_v<T, std::vector<int64_t>>) {
          return [FlutterStandardTypedData typedDataWithInt64:dataOf(content)];
        } else if constexpr (std::is_same_v<T, std::vector<float>>) {
          return
              [FlutterStandardTypedData typedDataWithFloat32:dataOf(content)];
        } else if constexpr (std::is_same_v<T, std::vector<double>>) {
          return
              [FlutterStandardTypedData typedDataWithFloat64:dataOf(content)];
        } else if constexpr (std::is_same_v<T, ValueList>) {
          NSMutableArray* array =
              [NSMutableArray arrayWithCapacity:content.size()];
          for (const Value& element : content) {
            [array addObject:flutterFromValue(element)];
          }
          return array;
        } else {
          static_assert(std::is_same_v<T, ValueMap>);
          NSMutableDictionary* dictionary = retainingDictionary();
          for (const auto& [key, element] : content) {
            CFDictionarySetValue(
                (__bridge CFMutableDictionaryRef)dictionary,
                (__bridge const void*)flutterFromValue(key),
                (__bridge const void*)flutterFromValue(element));
          }
          return dictionary;
        }
      },
      value.variant());
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

}  // namespace movaro::macos
