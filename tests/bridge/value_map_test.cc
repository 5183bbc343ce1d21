#include "bridge/value_map.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "bridge/standard_codec.h"
#include "bridge/value.h"

namespace movaro {
namespace {

TEST(ValueMapTest, KeepsKeysInOrderWhateverTheInsertionOrder) {
  ValueMap map;
  map[Value("b")] = 2;
  map.emplace(Value("a"), Value(1));
  map.insert_or_assign(Value("d"), Value(4));
  map.emplace_hint(map.end(), Value("cz"), Value(3));  // Not last: searched.
  map.emplace_hint(map.end(), Value("e"), Value(5));
  map[Value(int32_t{7})] = "number key";  // Other kinds order by kind.
  EXPECT_EQ(map, (ValueMap{{Value(int32_t{7}), Value("number key")},
                           {Value("a"), Value(1)},
                           {Value("b"), Value(2)},
                           {Value("cz"), Value(3)},
                           {Value("d"), Value(4)},
                           {Value("e"), Value(5)}}));
  EXPECT_EQ(map.count(Value("cz")), 1u);
  EXPECT_EQ(map.count(Value("z")), 0u);
  EXPECT_EQ(map.erase(Value("a")), 1u);
  EXPECT_EQ(map.erase(Value("a")), 0u);
}

TEST(ValueMapTest, DuplicatesFollowTheirOperationAndMapsCompareAsEntries) {
  ValueMap map;
  EXPECT_TRUE(map.emplace(Value("k"), Value(1)).second);
  EXPECT_FALSE(map.emplace(Value("k"), Value(2)).second);  // First stays.
  EXPECT_EQ(map.at(Value("k")), Value(1));
  EXPECT_FALSE(map.insert_or_assign(Value("k"), Value(3)).second);
  EXPECT_EQ(map.at(Value("k")), Value(3));
  map.emplace_hint(map.end(), Value("k"), Value(4));  // Present: kept.
  EXPECT_EQ(map, (ValueMap{{Value("k"), Value(3)}}));

  const ValueMap listed{{Value("x"), Value(1)}, {Value("x"), Value(2)}};
  EXPECT_EQ(listed, (ValueMap{{Value("x"), Value(1)}}));

  // Maps compare as ordered entries.
  const ValueMap small{{Value("a"), Value(1)}};
  const ValueMap larger{{Value("a"), Value(2)}};
  const ValueMap longer{{Value("a"), Value(1)}, {Value("b"), Value(0)}};
  EXPECT_LT(small, larger);
  EXPECT_LT(small, longer);
  EXPECT_FALSE(small < small);
  EXPECT_EQ(small, (ValueMap{{Value("a"), Value(1)}}));
  EXPECT_EQ(small.at(Value("a")), Value(1));
  EXPECT_THROW(small.at(Value("b")), std::out_of_range);
}

// A message whose map lists its keys in reverse order, with a repeated
// key, decodes to the same map as repeated insertion would build, and in
// O(n log n).
TEST(ValueMapTest, DecodedMapsMatchInsertionWhateverTheKeyOrder) {
  constexpr int kKeys = 20000;
  Bytes message{0x0d, 0xfe, 0x21, 0x4e};  // A map of 20001 (0x4e21) entries.
  auto add = [&message](int32_t key, int32_t value) {
    for (int32_t number : {key, value}) {
      Bytes bytes = StandardMessageCodec::encode(Value(number));
      message.insert(message.end(), bytes.begin(), bytes.end());
    }
  };
  for (int32_t key = kKeys; key > 0; --key) {
    add(key, -key);
  }
  add(kKeys, 42);  // The repeated key: the later value wins.
  ValueMap expected;
  for (int32_t key = 1; key <= kKeys; ++key) {
    expected.emplace_hint(expected.end(), Value(key),
                          Value(key == kKeys ? 42 : -key));
  }
  EXPECT_EQ(StandardMessageCodec::decode(message), Value(expected));
}

}  // namespace
}  // namespace movaro
