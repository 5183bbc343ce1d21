#include "host/json_values.h"

#include <limits>

namespace movaro::host {

Value jsonToValue(const Json& json) {
  switch (json.type()) {
    case Json::value_t::boolean:
      return json.get<bool>();
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned: {
      if (json.is_number_unsigned() &&
          json.get<uint64_t>() >
              static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) {
        return static_cast<double>(json.get<uint64_t>());
      }
      int64_t number = json.get<int64_t>();
      if (number >= std::numeric_limits<int32_t>::min() &&
          number <= std::numeric_limits<int32_t>::max()) {
        return static_cast<int32_t>(number);
      }
      return number;
    }
    case Json::value_t::number_float:
      return json.get<double>();
    case Json::value_t::string:
      return json.get<std::string>();
    case Json::value_t::array: {
      ValueList list;
      list.reserve(json.size());
      for (const Json& element : json) {
        list.push_back(jsonToValue(element));
      }
      return list;
    }
    case Json::value_t::object: {
      ValueMap::Entries entries;
      entries.reserve(json.size());
      for (const auto& [key, element] : json.items()) {
        entries.emplace_back(Value(key), jsonToValue(element));
      }
      return ValueMap::fromEntries(std::move(entries));
    }
    default:
      return Value();
  }
}

namespace {

template <typename T>
Json numbers(const std::vector<T>& values) {
  Json array = Json::array();
  for (T v : values) {
    array.push_back(v);
  }
  return array;
}

struct ToJson {
  Json operator()(std::monostate) const { return nullptr; }
  Json operator()(bool b) const { return b; }
  Json operator()(int32_t i) const { return i; }
  Json operator()(int64_t i) const { return i; }
  Json operator()(double d) const { return d; }
  Json operator()(const std::string& s) const { return s; }
  Json operator()(const std::vector<uint8_t>& v) const { return numbers(v); }
  Json operator()(const std::vector<int32_t>& v) const { return numbers(v); }
  Json operator()(const std::vector<int64_t>& v) const { return numbers(v); }
  Json operator()(const std::vector<float>& v) const { return numbers(v); }
  Json operator()(const std::vector<double>& v) const { return numbers(v); }
  Json operator()(const ValueList& list) const {
    Json array = Json::array();
    for (const Value& element : list) {
      array.push_back(valueToJson(element));
    }
    return array;
  }
  Json operator()(const ValueMap& map) const {
    Json object = Json::object();
    for (const auto& [key, element] : map) {
      const auto* text = key.getIf<std::string>();
      object[text ? *text : dumpLine(valueToJson(key))] = valueToJson(element);
    }
    return object;
  }
};

}  // namespace

Json valueToJson(const Value& value) {
  return std::visit(ToJson{}, value.variant());
}

std::string dumpLine(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace movaro::host
