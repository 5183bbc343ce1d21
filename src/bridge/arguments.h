// Typed reads of a method call's argument dictionary. A missing key and a
// value of another type both read as absent; a wrong type is never an error.
#ifndef MOVARO_BRIDGE_ARGUMENTS_H_
#define MOVARO_BRIDGE_ARGUMENTS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bridge/value.h"

namespace movaro {

// Converts any number to a signed 64-bit integer, cutting a fraction toward
// zero. NaN, the infinities and doubles outside the 64-bit range are absent.
std::optional<int64_t> numberAsInteger(const Value& value);

// True for a map whose every key is a string.
bool isStringKeyedMap(const Value& value);

class Arguments {
 public:
  // Anything but a string-keyed map reads as no arguments.
  explicit Arguments(const Value& callArguments);

  bool empty() const { return map_.empty(); }
  const ValueMap& map() const { return map_; }

  std::optional<std::string> string(const std::string& key) const;
  std::optional<bool> boolean(const std::string& key) const;
  std::optional<int64_t> integer(const std::string& key) const;
  std::optional<std::vector<ValueMap>> listOfDictionaries(
      const std::string& key) const;
  // Any non-null value, unchanged.
  std::optional<Value> raw(const std::string& key) const;

 private:
  ValueMap map_;
};

}  // namespace movaro

#endif  // MOVARO_BRIDGE_ARGUMENTS_H_
