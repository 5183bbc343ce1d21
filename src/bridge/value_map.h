// The map kind of the value model: entries kept in key order in one
// contiguous array, with the part of std::map's interface that the layer
// uses. A map decoded from a reply or a message is built in key order, so
// it costs one allocation instead of one per entry; lookups are binary
// searches.
//
// As with any array, inserting or erasing moves the entries after the
// place it happens: references and iterators into the map do not survive
// a change to it.
#ifndef MOVARO_BRIDGE_VALUE_MAP_H_
#define MOVARO_BRIDGE_VALUE_MAP_H_

#include <cstddef>
#include <initializer_list>
#include <utility>
#include <vector>

namespace movaro {

class Value;

class ValueMap {
 public:
  using key_type = Value;
  using mapped_type = Value;
  using value_type = std::pair<Value, Value>;
  using Entries = std::vector<value_type>;
  using iterator = Entries::iterator;
  using const_iterator = Entries::const_iterator;
  using size_type = size_t;

  ValueMap();
  ~ValueMap();
  ValueMap(const ValueMap&);
  ValueMap(ValueMap&&) noexcept;
  ValueMap& operator=(const ValueMap&);
  ValueMap& operator=(ValueMap&&) noexcept;
  // Of entries with equal keys, the first is kept, as std::map keeps it.
  ValueMap(std::initializer_list<value_type> entries);
  // A map of entries in any order, as inserting them one by one with
  // insert_or_assign would give (of equal keys the last wins), in
  // O(n log n): decoders use it, so that input in reverse key order cannot
  // make building a map quadratic.
  static ValueMap fromEntries(Entries entries);

  // Defined in value.h, where Value is complete.
  iterator begin();
  iterator end();
  const_iterator begin() const;
  const_iterator end() const;
  const_iterator cbegin() const;
  const_iterator cend() const;
  size_t size() const;
  bool empty() const;
  void clear();
  void reserve(size_t count);

  iterator find(const Value& key);
  const_iterator find(const Value& key) const;
  iterator lower_bound(const Value& key);
  const_iterator lower_bound(const Value& key) const;
  size_t count(const Value& key) const;
  bool contains(const Value& key) const;
  // Throws std::out_of_range when the key is absent.
  Value& at(const Value& key);
  const Value& at(const Value& key) const;
  Value& operator[](const Value& key);
  Value& operator[](Value&& key);

  // Adds the entry unless the key is there already.
  std::pair<iterator, bool> insert(value_type entry);
  template <typename K, typename V>
  std::pair<iterator, bool> emplace(K&& key, V&& value);
  template <typename K, typename V>
  std::pair<iterator, bool> try_emplace(K&& key, V&& value);
  // An entry whose key comes after every key present is appended in place
  // without a search; otherwise as emplace.
  template <typename K, typename V>
  iterator emplace_hint(const_iterator hint, K&& key, V&& value);
  template <typename V>
  std::pair<iterator, bool> insert_or_assign(const Value& key, V&& value);

  size_t erase(const Value& key);
  iterator erase(const_iterator position);

  friend bool operator==(const ValueMap& a, const ValueMap& b);
  friend bool operator!=(const ValueMap& a, const ValueMap& b) {
    return !(a == b);
  }
  friend bool operator<(const ValueMap& a, const ValueMap& b);

 private:
  bool goesLast(const Value& key) const;
  // Whether the entry at `position`, found by lower_bound, has `key`.
  bool holds(const_iterator position, const Value& key) const;

  Entries entries_;
};

}  // namespace movaro

#endif  // MOVARO_BRIDGE_VALUE_MAP_H_
