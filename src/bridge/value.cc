#include "bridge/value.h"

namespace movaro {

bool operator==(const Value& a, const Value& b) {
  if (a.variant_.index() != b.variant_.index()) {
    return false;
  }
  return std::visit(
      [&b](const auto& x) {
        return x == std::get<std::decay_t<decltype(x)>>(b.variant_);
      },
      a.variant_);
}

bool operator<(const Value& a, const Value& b) {
  if (a.variant_.index() != b.variant_.index()) {
    return a.variant_.index() < b.variant_.index();
  }
  return std::visit(
      [&b](const auto& x) {
        return x < std::get<std::decay_t<decltype(x)>>(b.variant_);
      },
      a.variant_);
}

ValueMap dict(std::initializer_list<std::pair<const char*, Value>> entries) {
  ValueMap map;
  for (const auto& [key, value] : entries) {
    map.insert_or_assign(Value(key), value);
  }
  return map;
}

const Value* find(const ValueMap& map, const std::string& key) {
  auto it = map.find(Value(key));
  return it == map.end() ? nullptr : &it->second;
}

}  // namespace movaro
