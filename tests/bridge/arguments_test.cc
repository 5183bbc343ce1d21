#include "bridge/arguments.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace movaro {
namespace {

// Anything but a string-keyed map is no arguments; typed reads take only
// their kind.
TEST(ArgumentsTest, OnlyStringKeyedMapsAndTheirTypedEntriesAreRead) {
  const Value notArguments[] = {
      Value(),
      Value("config"),
      Value(ValueList{dict({{"config", "x"}})}),
      Value(int32_t{3}),
      Value(ValueMap{{Value("config"), Value("x")},
                     {Value(int32_t{1}), Value()}}),
  };
  for (const Value& value : notArguments) {
    Arguments args(value);
    EXPECT_TRUE(args.empty());
    EXPECT_FALSE(args.string("config"));
  }

  Arguments args(dict({{"s", "text"},
                       {"b", true},
                       {"i", int32_t{7}},
                       {"l", int64_t{1} << 40},
                       {"d", -2.9},
                       {"n", Value()},
                       {"list", ValueList{dict({{"id", int32_t{1}}})}},
                       {"mixed", ValueList{dict({}), "x"}}}));
  EXPECT_EQ(args.string("s"), "text");
  EXPECT_FALSE(args.string("b"));
  EXPECT_EQ(args.boolean("b"), true);
  EXPECT_FALSE(args.boolean("i"));
  EXPECT_FALSE(args.integer("b"));
  EXPECT_EQ(args.integer("i"), 7);
  EXPECT_EQ(args.integer("l"), int64_t{1} << 40);
  EXPECT_EQ(args.integer("d"), -2);  // cut toward zero
  EXPECT_FALSE(args.raw("n"));
  EXPECT_FALSE(args.raw("missing"));
  EXPECT_EQ(args.listOfDictionaries("list")->size(), 1u);
  EXPECT_FALSE(args.listOfDictionaries("mixed"));
  EXPECT_FALSE(args.listOfDictionaries("s"));
}

TEST(ArgumentsTest, IntegerReadOfDoublesOutsideTheRangeIsAbsent) {
  const double absent[] = {std::nan(""),
                           std::numeric_limits<double>::infinity(),
                           9223372036854775808.0, -9223372036854777856.0};
  for (double d : absent) {
    EXPECT_FALSE(numberAsInteger(Value(d))) << d;
  }
  EXPECT_EQ(numberAsInteger(Value(1.7e12)), 1700000000000);
  EXPECT_EQ(numberAsInteger(Value(-9223372036854775808.0)),
            std::numeric_limits<int64_t>::min());
  EXPECT_EQ(numberAsInteger(Value(9223372036854774784.0)), 9223372036854774784);
}

}  // namespace
}  // namespace movaro
