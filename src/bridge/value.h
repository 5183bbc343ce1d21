// The UI host's value model: every kind its standard codec carries.
#ifndef MOVARO_BRIDGE_VALUE_H_
#define MOVARO_BRIDGE_VALUE_H_

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "bridge/value_map.h"

namespace movaro {

// Raw bytes: encoded messages and provider message payloads.
using Bytes = std::vector<uint8_t>;

class Value;
using ValueList = std::vector<Value>;

using ValueVariant = std::variant<std::monostate,
                                  bool,
                                  int32_t,
                                  int64_t,
                                  double,
                                  std::string,
                                  std::vector<uint8_t>,
                                  std::vector<int32_t>,
                                  std::vector<int64_t>,
                                  std::vector<float>,
                                  std::vector<double>,
                                  ValueList,
                                  ValueMap>;

// A codec value. Maps are ordered by key so that encodings are stable.
// The variant is held rather than inherited: comparing a variant that
// contains maps of itself does not resolve in C++20.
class Value {
 public:
  Value() = default;
  // A string literal is a string, not a boolean.
  Value(const char* text) : variant_(std::string(text)) {}  // NOLINT
  template <
      typename T,
      typename = std::enable_if_t<!std::is_same_v<std::decay_t<T>, Value> &&
                                  std::is_constructible_v<ValueVariant, T&&>>>
  Value(T&& value) : variant_(std::forward<T>(value)) {}  // NOLINT

  bool isNull() const {
    return std::holds_alternative<std::monostate>(variant_);
  }

  template <typename T>
  bool is() const {
    return std::holds_alternative<T>(variant_);
  }
  template <typename T>
  const T* getIf() const {
    return std::get_if<T>(&variant_);
  }
  template <typename T>
  T* getIf() {
    return std::get_if<T>(&variant_);
  }
  const ValueVariant& variant() const { return variant_; }

  friend bool operator==(const Value& a, const Value& b);
  friend bool operator!=(const Value& a, const Value& b) { return !(a == b); }
  // Orders by kind first, then by content.
  friend bool operator<(const Value& a, const Value& b);

 private:
  ValueVariant variant_;
};

template <typename V>
std::pair<ValueMap::iterator, bool> ValueMap::insert_or_assign(const Value& key,
                                                               V&& value) {
  auto it = lower_bound(key);
  if (holds(it, key)) {
    it->second = std::forward<V>(value);
    return {it, false};
  }
  return {entries_.insert(it, value_type(key, std::forward<V>(value))), true};
}

inline ValueMap::iterator ValueMap::begin() {
  return entries_.begin();
}
inline ValueMap::iterator ValueMap::end() {
  return entries_.end();
}
inline ValueMap::const_iterator ValueMap::begin() const {
  return entries_.begin();
}
inline ValueMap::const_iterator ValueMap::end() const {
  return entries_.end();
}
inline ValueMap::const_iterator ValueMap::cbegin() const {
  return entries_.cbegin();
}
inline ValueMap::const_iterator ValueMap::cend() const {
  return entries_.cend();
}
inline size_t ValueMap::size() const {
  return entries_.size();
}
inline bool ValueMap::empty() const {
  return entries_.empty();
}
inline void ValueMap::clear() {
  entries_.clear();
}
inline void ValueMap::reserve(size_t count) {
  entries_.reserve(count);
}
inline ValueMap::iterator ValueMap::erase(const_iterator position) {
  return entries_.erase(position);
}

template <typename K, typename V>
std::pair<ValueMap::iterator, bool> ValueMap::emplace(K&& key, V&& value) {
  return insert(value_type(std::forward<K>(key), std::forward<V>(value)));
}

template <typename K, typename V>
std::pair<ValueMap::iterator, bool> ValueMap::try_emplace(K&& key, V&& value) {
  return emplace(std::forward<K>(key), std::forward<V>(value));
}

template <typename K, typename V>
ValueMap::iterator ValueMap::emplace_hint(const_iterator /*hint*/,
                                          K&& key,
                                          V&& value) {
  Value k(std::forward<K>(key));
  if (goesLast(k)) {
    entries_.emplace_back(std::move(k), std::forward<V>(value));
    return entries_.end() - 1;
  }
  return insert(value_type(std::move(k), std::forward<V>(value))).first;
}

// Builds a map with string keys: Value(dict({{"a", 1}})).
ValueMap dict(std::initializer_list<std::pair<const char*, Value>> entries);

// Looks up a string key in a map; null when absent.
const Value* find(const ValueMap& map, const std::string& key);

}  // namespace movaro

#endif  // MOVARO_BRIDGE_VALUE_H_
