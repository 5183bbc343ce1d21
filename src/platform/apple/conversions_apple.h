// Conversions between Foundation objects and this project's types: strings,
// string lists, bytes, property-list values, errors and dates. For
// Objective-C++ files only.
#ifndef MOVARO_PLATFORM_APPLE_CONVERSIONS_APPLE_H_
#define MOVARO_PLATFORM_APPLE_CONVERSIONS_APPLE_H_

#if !defined(__OBJC__) || !defined(__cplusplus)
#error "conversions_apple.h is for Objective-C++ files."
#endif

#import <Foundation/Foundation.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bridge/value.h"
#include "platform/dispatch.h"
#include "platform/platform_error.h"

NS_ASSUME_NONNULL_BEGIN

namespace movaro::platform::apple {

NSString* toNSString(const std::string& text);
NSString* _Nullable toNSString(const std::optional<std::string>& text);
// Empty for nil.
std::string toStdString(NSString* _Nullable text);
std::optional<std::string> toOptionalString(NSString* _Nullable text);

NSArray<NSString*>* toNSStringArray(const std::vector<std::string>& strings);
// The strings of an array; other elements are left out. Empty for nil.
std::vector<std::string> toStringVector(NSArray* _Nullable array);

NSData* toNSData(const std::vector<uint8_t>& bytes);
std::vector<uint8_t> toBytes(NSData* _Nullable data);

// A number as the UI host's codec reads it: a CFBoolean is a boolean, a
// float or double is a double, any other number is a 32-bit integer when it
// fits and a 64-bit one otherwise.
Value toValue(NSNumber* number);
// Reads the objects that one caller knows and property lists do not (the UI
// host's typed data); nothing for any other object.
using ObjectReader = std::optional<Value>(id object);
// Property-list objects: nil and NSNull are null, NSNumber as above,
// NSString, NSData as bytes, NSArray, NSDictionary; what `special` reads, at
// any depth. Anything else (dates, URLs, other objects) reads as null.
Value toValue(id _Nullable object, ObjectReader* _Nullable special = nullptr);
// String-keyed entries of a dictionary; other keys are left out. Empty for
// nil.
ValueMap toStringKeyedMap(NSDictionary* _Nullable dictionary);

// Writes bytes and the numeric lists, the kinds without one obvious
// Foundation class, for one caller (the UI host's typed data).
using TypedDataWriter = id(const Value& value);
// The Foundation object of a value: NSNull, NSNumber (booleans as the
// CFBoolean singletons, int32 as int, int64 as long long), NSString, bytes
// and numeric lists by `typedData` (by default NSData for bytes and NSArray
// of NSNumber for the numeric lists), NSArray, and NSDictionary whose keys
// are retained rather than copied, so that keys of any kind (typed data is
// not NSCopying) are kept as they are.
id toObjC(const Value& value, TypedDataWriter* _Nullable typedData = nullptr);
// The string-keyed entries of a map; other keys are left out.
NSDictionary<NSString*, id>* toStringKeyedDictionary(const ValueMap& map);

// Domain, code, localised description and the string-keyed user
// information entries that have a value kind. A nil error, which a failing
// call should never report, gives empty fields.
PlatformError toPlatformError(NSError* _Nullable error);
// Absent for nil.
MaybeError toMaybeError(NSError* _Nullable error);

WallTime toWallTime(NSDate* date);
NSDate* toNSDate(WallTime time);

}  // namespace movaro::platform::apple

NS_ASSUME_NONNULL_END

#endif  // MOVARO_PLATFORM_APPLE_CONVERSIONS_APPLE_H_
