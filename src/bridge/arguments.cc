#include "bridge/arguments.h"

#include <cmath>

namespace movaro {

std::optional<int64_t> numberAsInteger(const Value& value) {
  if (const auto* small = value.getIf<int32_t>()) {
    return *small;
  }
  if (const auto* large = value.getIf<int64_t>()) {
    return *large;
  }
  if (const auto* real = value.getIf<double>()) {
    if (!std::isfinite(*real)) {
      return std::nullopt;
    }
    double truncated = std::trunc(*real);
    // 2^63 is exactly representable; anything at or above it does not fit.
    if (truncated >= 9223372036854775808.0 ||
        truncated < -9223372036854775808.0) {
      return std::nullopt;
    }
    return static_cast<int64_t>(truncated);
  }
  return std::nullopt;
}

bool isStringKeyedMap(const Value& value) {
  const auto* map = value.getIf<ValueMap>();
  if (map == nullptr) {
    return false;
  }
  for (const auto& entry : *map) {
    if (!entry.first.is<std::string>()) {
      return false;
    }
  }
  return true;
}

Arguments::Arguments(const Value& callArguments) {
  if (isStringKeyedMap(callArguments)) {
    map_ = *callArguments.getIf<ValueMap>();
  }
}

std::optional<std::string> Arguments::string(const std::string& key) const {
  const Value* value = find(map_, key);
  if (value == nullptr || !value->is<std::string>()) {
    return std::nullopt;
  }
  return *value->getIf<std::string>();
}

std::optional<bool> Arguments::boolean(const std::string& key) const {
  const Value* value = find(map_, key);
  if (value == nullptr || !value->is<bool>()) {
    return std::nullopt;
  }
  return *value->getIf<bool>();
}

std::optional<int64_t> Arguments::integer(const std::string& key) const {
  const Value* value = find(map_, key);
  return value == nullptr ? std::nullopt : numberAsInteger(*value);
}

std::optional<std::vector<ValueMap>> Arguments::listOfDictionaries(
    const std::string& key) const {
  const Value* value = find(map_, key);
  const auto* list = value == nullptr ? nullptr : value->getIf<ValueList>();
  if (list == nullptr) {
    return std::nullopt;
  }
  std::vector<ValueMap> result;
  result.reserve(list->size());
  for (const Value& element : *list) {
    if (!isStringKeyedMap(element)) {
      return std::nullopt;
    }
    result.push_back(*element.getIf<ValueMap>());
  }
  return result;
}

std::optional<Value> Arguments::raw(const std::string& key) const {
  const Value* value = find(map_, key);
  if (value == nullptr || value->isNull()) {
    return std::nullopt;
  }
  return *value;
}

}  // namespace movaro
