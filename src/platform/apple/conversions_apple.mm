#include "platform/apple/conversions_apple.h"

#include <CoreFoundation/CoreFoundation.h>

#include <chrono>
#include <limits>
#include <type_traits>
#include <variant>

NS_ASSUME_NONNULL_BEGIN

namespace movaro::platform::apple {
namespace {

template <typename T>
NSArray<NSNumber*>* numberArray(const std::vector<T>& numbers) {
  NSMutableArray<NSNumber*>* array =
      [NSMutableArray arrayWithCapacity:numbers.size()];
  for (T number : numbers) {
    if constexpr (std::is_same_v<T, int32_t>) {
      [array addObject:[NSNumber numberWithInt:number]];
    } else if constexpr (std::is_same_v<T, int64_t>) {
      [array addObject:[NSNumber numberWithLongLong:number]];
    } else if constexpr (std::is_same_v<T, float>) {
      [array addObject:[NSNumber numberWithFloat:number]];
    } else {
      [array addObject:[NSNumber numberWithDouble:number]];
    }
  }
  return array;
}

// A mutable dictionary that retains its keys instead of copying them.
NSMutableDictionary* retainingDictionary() {
  return (__bridge_transfer NSMutableDictionary*)CFDictionaryCreateMutable(
      kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
      &kCFTypeDictionaryValueCallBacks);
}

}  // namespace

NSString* toNSString(const std::string& text) {
  return [[NSString alloc] initWithBytes:text.data()
                                  length:text.size()
                                encoding:NSUTF8StringEncoding]
             ?: @"";
}

NSString* _Nullable toNSString(const std::optional<std::string>& text) {
  return text ? toNSString(*text) : nil;
}

std::string toStdString(NSString* _Nullable text) {
  const char* utf8 = text.UTF8String;
  return utf8 ? std::string(utf8) : std::string();
}

std::optional<std::string> toOptionalString(NSString* _Nullable text) {
  return text ? std::optional<std::string>(toStdString(text)) : std::nullopt;
}

NSArray<NSString*>* toNSStringArray(const std::vector<std::string>& strings) {
  NSMutableArray<NSString*>* array =
      [NSMutableArray arrayWithCapacity:strings.size()];
  for (const std::string& text : strings) {
    [array addObject:toNSString(text)];
  }
  return array;
}

std::vector<std::string> toStringVector(NSArray* _Nullable array) {
  std::vector<std::string> strings;
  for (id element in array) {
    if ([element isKindOfClass:[NSString class]]) {
      strings.push_back(toStdString(element));
    }
  }
  return strings;
}

NSData* toNSData(const std::vector<uint8_t>& bytes) {
  return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

std::vector<uint8_t> toBytes(NSData* _Nullable data) {
  const auto* begin = static_cast<const uint8_t*>(data.bytes);
  return begin ? std::vector<uint8_t>(begin, begin + data.length)
               : std::vector<uint8_t>();
}

Value toValue(NSNumber* number) {
  if (CFGetTypeID((__bridge CFTypeRef)number) == CFBooleanGetTypeID()) {
    return Value(static_cast<bool>(number.boolValue));
  }
  const char type = number.objCType[0];
  if (type == 'f' || type == 'd') {
    return Value(number.doubleValue);
  }
  const long long integer = number.longLongValue;
  if (integer >= std::numeric_limits<int32_t>::min() &&
      integer <= std::numeric_limits<int32_t>::max()) {
    return Value(static_cast<int32_t>(integer));
  }
  return Value(static_cast<int64_t>(integer));
}

Value toValue(id _Nullable object, ObjectReader* _Nullable special) {
  if (special) {
    if (std::optional<Value> read = special(object)) {
      return *read;
    }
  }
  if ([object isKindOfClass:[NSNumber class]]) {
    return toValue(static_cast<NSNumber*>(object));
  }
  if ([object isKindOfClass:[NSString class]]) {
    return Value(toStdString(object));
  }
  if ([object isKindOfClass:[NSData class]]) {
    return Value(toBytes(object));
  }
  if ([object isKindOfClass:[NSArray class]]) {
    ValueList list;
    for (id element in static_cast<NSArray*>(object)) {
      list.push_back(toValue(element, special));
    }
    return Value(std::move(list));
  }
  if ([object isKindOfClass:[NSDictionary class]]) {
    NSDictionary* dictionary = object;
    ValueMap::Entries entries;
    entries.reserve(dictionary.count);
    for (id key in dictionary) {
      entries.emplace_back(toValue(key, special),
                           toValue(dictionary[key], special));
    }
    return Value(ValueMap::fromEntries(std::move(entries)));
  }
  return Value();
}

ValueMap toStringKeyedMap(NSDictionary* _Nullable dictionary) {
  ValueMap::Entries entries;
  for (id key in dictionary) {
    if ([key isKindOfClass:[NSString class]]) {
      entries.emplace_back(Value(toStdString(key)), toValue(dictionary[key]));
    }
  }
  return ValueMap::fromEntries(std::move(entries));
}

id toObjC(const Value& value, TypedDataWriter* _Nullable typedData) {
  return std::visit(
      [&value, typedData](const auto& content) -> id {
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
        } else if constexpr (std::is_same_v<T, ValueList>) {
          NSMutableArray* array =
              [NSMutableArray arrayWithCapacity:content.size()];
          for (const Value& element : content) {
            [array addObject:toObjC(element, typedData)];
          }
          return array;
        } else if constexpr (std::is_same_v<T, ValueMap>) {
          NSMutableDictionary* dictionary = retainingDictionary();
          for (const auto& [key, element] : content) {
            CFDictionarySetValue(
                (__bridge CFMutableDictionaryRef)dictionary,
                (__bridge const void*)toObjC(key, typedData),
                (__bridge const void*)toObjC(element, typedData));
          }
          return dictionary;
        } else if (typedData) {
          return typedData(value);
        } else if constexpr (std::is_same_v<T, std::vector<uint8_t>>) {
          return toNSData(content);
        } else {
          return numberArray(content);
        }
      },
      value.variant());
}

NSDictionary<NSString*, id>* toStringKeyedDictionary(const ValueMap& map) {
  NSMutableDictionary<NSString*, id>* dictionary =
      [NSMutableDictionary dictionaryWithCapacity:map.size()];
  for (const auto& [key, element] : map) {
    if (const auto* name = key.getIf<std::string>()) {
      dictionary[toNSString(*name)] = toObjC(element);
    }
  }
  return dictionary;
}

PlatformError toPlatformError(NSError* _Nullable error) {
  PlatformError converted;
  if (!error) {
    return converted;
  }
  converted.domain = toStdString(error.domain);
  converted.code = error.code;
  converted.message = toStdString(error.localizedDescription);
  for (id key in error.userInfo) {
    id entry = error.userInfo[key];
    if ([key isKindOfClass:[NSString class]] &&
        ([entry isKindOfClass:[NSNumber class]] ||
         [entry isKindOfClass:[NSString class]] ||
         [entry isKindOfClass:[NSData class]] ||
         [entry isKindOfClass:[NSArray class]] ||
         [entry isKindOfClass:[NSDictionary class]])) {
      converted.userInfo[Value(toStdString(key))] = toValue(entry);
    }
  }
  return converted;
}

MaybeError toMaybeError(NSError* _Nullable error) {
  return error ? MaybeError(toPlatformError(error)) : std::nullopt;
}

WallTime toWallTime(NSDate* date) {
  const std::chrono::duration<double> sinceEpoch(date.timeIntervalSince1970);
  return WallTime(std::chrono::duration_cast<WallTime::duration>(sinceEpoch));
}

NSDate* toNSDate(WallTime time) {
  const std::chrono::duration<double> sinceEpoch = time.time_since_epoch();
  return [NSDate dateWithTimeIntervalSince1970:sinceEpoch.count()];
}

}  // namespace movaro::platform::apple

NS_ASSUME_NONNULL_END
