#include "bridge/value_map.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "bridge/value.h"

namespace movaro {
namespace {

bool keyBefore(const ValueMap::value_type& entry, const Value& key) {
  return entry.first < key;
}

}  // namespace

ValueMap::ValueMap() = default;
ValueMap::~ValueMap() = default;
ValueMap::ValueMap(const ValueMap&) = default;
ValueMap::ValueMap(ValueMap&&) noexcept = default;
ValueMap& ValueMap::operator=(const ValueMap&) = default;
ValueMap& ValueMap::operator=(ValueMap&&) noexcept = default;

ValueMap::ValueMap(std::initializer_list<value_type> entries) {
  entries_.reserve(entries.size());
  for (const value_type& entry : entries) {
    emplace_hint(end(), entry.first, entry.second);
  }
}

ValueMap ValueMap::fromEntries(Entries entries) {
  std::stable_sort(entries.begin(), entries.end(),
                   [](const value_type& a, const value_type& b) {
                     return a.first < b.first;
                   });
  // Of each run of equal keys, the last entry moves to the run's place.
  auto out = entries.begin();
  for (auto it = entries.begin(); it != entries.end(); ++it) {
    auto next = it + 1;
    if (next != entries.end() && !(it->first < next->first)) {
      continue;
    }
    if (out != it) {
      *out = std::move(*it);
    }
    ++out;
  }
  entries.erase(out, entries.end());
  ValueMap map;
  map.entries_ = std::move(entries);
  return map;
}

ValueMap::iterator ValueMap::lower_bound(const Value& key) {
  return std::lower_bound(entries_.begin(), entries_.end(), key, keyBefore);
}

ValueMap::const_iterator ValueMap::lower_bound(const Value& key) const {
  return std::lower_bound(entries_.begin(), entries_.end(), key, keyBefore);
}

ValueMap::iterator ValueMap::find(const Value& key) {
  auto it = lower_bound(key);
  return holds(it, key) ? it : entries_.end();
}

ValueMap::const_iterator ValueMap::find(const Value& key) const {
  auto it = lower_bound(key);
  return holds(it, key) ? it : entries_.end();
}

size_t ValueMap::count(const Value& key) const {
  return contains(key) ? 1 : 0;
}

bool ValueMap::contains(const Value& key) const {
  return find(key) != entries_.end();
}

Value& ValueMap::at(const Value& key) {
  auto it = find(key);
  if (it == entries_.end()) {
    throw std::out_of_range("ValueMap::at: no such key");
  }
  return it->second;
}

const Value& ValueMap::at(const Value& key) const {
  auto it = find(key);
  if (it == entries_.end()) {
    throw std::out_of_range("ValueMap::at: no such key");
  }
  return it->second;
}

Value& ValueMap::operator[](const Value& key) {
  return (*this)[Value(key)];
}

Value& ValueMap::operator[](Value&& key) {
  auto it = lower_bound(key);
  if (holds(it, key)) {
    return it->second;
  }
  return entries_.insert(it, value_type(std::move(key), Value()))->second;
}

std::pair<ValueMap::iterator, bool> ValueMap::insert(value_type entry) {
  auto it = lower_bound(entry.first);
  if (holds(it, entry.first)) {
    return {it, false};
  }
  return {entries_.insert(it, std::move(entry)), true};
}

bool ValueMap::goesLast(const Value& key) const {
  if (entries_.empty()) {
    return true;
  }
  const Value& last = entries_.back().first;
  // String keys, the common case, compared without visiting the variant;
  // keys built in order mostly differ in their first byte.
  const std::string* a = last.getIf<std::string>();
  const std::string* b = key.getIf<std::string>();
  if (a != nullptr && b != nullptr) {
    if (!a->empty() && !b->empty() && (*a)[0] != (*b)[0]) {
      return static_cast<unsigned char>((*a)[0]) <
             static_cast<unsigned char>((*b)[0]);
    }
    return *a < *b;
  }
  return last < key;
}

bool ValueMap::holds(const_iterator position, const Value& key) const {
  return position != entries_.end() && !(key < position->first);
}

size_t ValueMap::erase(const Value& key) {
  auto it = find(key);
  if (it == entries_.end()) {
    return 0;
  }
  entries_.erase(it);
  return 1;
}

bool operator==(const ValueMap& a, const ValueMap& b) {
  return a.entries_ == b.entries_;
}

bool operator<(const ValueMap& a, const ValueMap& b) {
  return a.entries_ < b.entries_;
}

}  // namespace movaro
