#include "bridge/standard_codec.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <limits>

namespace movaro {
namespace {

// Each kind of value and its encoding, checked by hand.
const std::pair<Value, Bytes> kVectors[] = {
    {Value(), {0x00}},
    {true, {0x01}},
    {false, {0x02}},
    {int32_t{-2}, {0x03, 0xfe, 0xff, 0xff, 0xff}},
    {int64_t{0x0102030405060708}, {0x04, 8, 7, 6, 5, 4, 3, 2, 1}},
    // The double is aligned to 8 from the start of the message.
    {1.0, {0x06, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f}},
    {"héllo", {0x07, 6, 'h', 0xc3, 0xa9, 'l', 'l', 'o'}},
    {"", {0x07, 0}},
    {std::vector<uint8_t>{1, 2}, {0x08, 2, 1, 2}},
    {std::vector<int32_t>{1}, {0x09, 1, 0, 0, 0x01, 0, 0, 0}},
    {std::vector<int64_t>{-1},
     {0x0a, 1, 0, 0, 0, 0, 0, 0, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff,
      0xff}},
    {std::vector<float>{1.0f}, {0x0e, 1, 0, 0, 0x00, 0x00, 0x80, 0x3f}},
    {std::vector<double>{2.0},
     {0x0b, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x40}},
    {ValueList{int32_t{1}, "a"}, {0x0c, 2, 0x03, 1, 0, 0, 0, 0x07, 1, 'a'}},
    // Alignment counts from the message start, not from the list.
    {ValueList{std::vector<int32_t>{7}}, {0x0c, 1, 0x09, 1, 0x07, 0, 0, 0}},
    {ValueList{0.5},
     {0x0c, 1, 0x06, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xe0, 0x3f}},
    // A map with string and integer keys.
    {ValueMap{{Value(int32_t{1}), Value()}, {Value("a"), Value(true)}},
     {0x0d, 2, 0x03, 1, 0, 0, 0, 0x00, 0x07, 1, 'a', 0x01}},
};

TEST(StandardCodecTest, EncodesEveryKindByteForByte) {
  for (const auto& [value, bytes] : kVectors) {
    SCOPED_TRACE(::testing::PrintToString(bytes));
    EXPECT_EQ(StandardMessageCodec::encode(value), bytes);
    EXPECT_EQ(StandardMessageCodec::decode(bytes), value);
  }
  // A large integer, never encoded, decodes as its text.
  EXPECT_EQ(StandardMessageCodec::decode(Bytes{0x05, 3, '1', 'f', 'f'}),
            Value("1ff"));
}

TEST(StandardCodecTest, SizesUseOneThreeOrFiveBytes) {
  const std::pair<size_t, Bytes> cases[] = {
      {253, {0x07, 253}},
      {254, {0x07, 254, 0xfe, 0x00}},
      {255, {0x07, 254, 0xff, 0x00}},
      {65535, {0x07, 254, 0xff, 0xff}},
      {65536, {0x07, 255, 0x00, 0x00, 0x01, 0x00}},
  };
  for (const auto& [length, header] : cases) {
    SCOPED_TRACE(length);
    std::string text(length, 'x');
    Bytes encoded = StandardMessageCodec::encode(Value(text));
    ASSERT_EQ(encoded.size(), header.size() + length);
    EXPECT_EQ(Bytes(encoded.begin(), encoded.begin() + header.size()), header);
    EXPECT_EQ(StandardMessageCodec::decode(encoded), Value(text));
  }
}

TEST(StandardCodecTest, LongNumericListsAlignAfterTheLongSize) {
  // type, 254, two size bytes: the data starts at 4, already aligned.
  std::vector<int64_t> values(300, 5);
  Bytes encoded = StandardMessageCodec::encode(Value(values));
  ASSERT_EQ(encoded.size(), 4 + 4 + 300 * 8u);
  EXPECT_EQ(encoded[3], 0x01);  // 300 = 0x012c
  EXPECT_EQ(encoded[8], 5);
  EXPECT_EQ(StandardMessageCodec::decode(encoded), Value(values));
}

TEST(StandardCodecTest, RoundTripsNestedValuesAndExtremes) {
  Value value = ValueList{
      dict({{"nan", std::numeric_limits<double>::infinity()},
            {"min", std::numeric_limits<int64_t>::min()},
            {"list", ValueList{Value(), false, std::vector<uint8_t>{}}},
            {"nested", dict({{"deeper", ValueList{dict({})}}})}}),
      std::vector<double>{-0.0, 1e300}, std::vector<float>{}, int32_t{0}};
  EXPECT_EQ(StandardMessageCodec::decode(StandardMessageCodec::encode(value)),
            value);
}

TEST(StandardCodecTest, RefusesMalformedInput) {
  // Every proper prefix of every vector is truncated.
  for (const auto& [_, bytes] : kVectors) {
    for (size_t n = 0; n < bytes.size(); ++n) {
      SCOPED_TRACE(::testing::PrintToString(bytes) + " cut at " +
                   std::to_string(n));
      EXPECT_FALSE(StandardMessageCodec::decode(bytes.data(), n));
    }
  }
  const Bytes lies[] = {
      {0x07, 10, 'a'},                      // string longer than the rest
      {0x07, 255, 0xff, 0xff, 0xff, 0xff},  // four gigabytes promised
      {0x0c, 255, 0xff, 0xff, 0xff, 0x7f},  // a list of two billion
      {0x0d, 3, 0x00, 0x00},                // a map short of entries
      {0x0a, 254, 0xff, 0xff},              // int64 list with no data
      {0x0f},                               // unknown type
      {0x00, 0x00},                         // trailing bytes
  };
  for (const Bytes& bytes : lies) {
    EXPECT_FALSE(StandardMessageCodec::decode(bytes));
  }
}

TEST(StandardCodecTest, RefusesNestingBeyondTheLimit) {
  // `depth` lists of one item around `inner`.
  auto nested = [](int depth, Bytes inner = {0x00}) {
    Bytes bytes;
    for (int i = 0; i < depth; ++i) {
      bytes.insert(bytes.end(), {0x0c, 1});
    }
    bytes.insert(bytes.end(), inner.begin(), inner.end());
    return bytes;
  };
  constexpr int kMax = StandardMessageCodec::kMaxDepth;
  EXPECT_TRUE(StandardMessageCodec::decode(nested(kMax)));
  EXPECT_TRUE(StandardMessageCodec::decode(nested(kMax - 1, {0x0d, 0})));
  EXPECT_FALSE(StandardMessageCodec::decode(nested(kMax, {0x0d, 0})));
  EXPECT_FALSE(StandardMessageCodec::decode(nested(100000)));
}

// Exits 0 when the bytes are refused with 256 MiB of address space beyond
// what the process holds now; running out of it aborts.
[[noreturn]] void refuseWithLittleMemory(const Bytes& bytes) {
  std::ifstream statm("/proc/self/statm");
  rlim_t pages = 0;
  statm >> pages;
  const rlim_t limit = pages * ::getpagesize() + (rlim_t{256} << 20);
  const rlimit both{limit, limit};
  ::setrlimit(RLIMIT_AS, &both);
  std::exit(StandardMessageCodec::decode(bytes) ? 1 : 0);
}

TEST(StandardCodecDeathTest, HostileCountsAreRefusedWithinLittleMemory) {
  // Every level claims a list as long as the whole rest of the message.
  Bytes bytes;
  for (int i = 0; i < StandardMessageCodec::kMaxDepth; ++i) {
    bytes.insert(bytes.end(), {0x0c, 255, 0, 0, 0x10, 0});
  }
  bytes.resize(bytes.size() + (size_t{1} << 20));
  EXPECT_EXIT(refuseWithLittleMemory(bytes), ::testing::ExitedWithCode(0), "");
}

TEST(StandardMethodCodecTest, CallsAndEnvelopes) {
  MethodCall call{"go", dict({{"a", int32_t{1}}})};
  Bytes encoded = StandardMethodCodec::encodeMethodCall(call);
  EXPECT_EQ(encoded, (Bytes{0x07, 2, 'g', 'o', 0x0d, 1, 0x07, 1, 'a', 0x03, 1,
                            0, 0, 0}));
  auto decoded =
      StandardMethodCodec::decodeMethodCall(encoded.data(), encoded.size());
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->method, "go");
  EXPECT_EQ(decoded->arguments, call.arguments);

  EXPECT_EQ(StandardMethodCodec::encodeSuccessEnvelope(true),
            (Bytes{0x00, 0x01}));
  const Bytes error{0x01, 0x07, 1, 'E', 0x07, 1, 'm', 0x00};
  EXPECT_EQ(StandardMethodCodec::encodeErrorEnvelope({"E", "m"}), error);
  EXPECT_EQ(StandardMethodCodec::encodeErrorEnvelope({"E", std::nullopt}),
            (Bytes{0x01, 0x07, 1, 'E', 0x00, 0x00}));

  auto envelope =
      StandardMethodCodec::decodeEnvelope(error.data(), error.size());
  ASSERT_TRUE(envelope);
  const auto& errorEnvelope = std::get<ErrorEnvelope>(*envelope);
  EXPECT_EQ(errorEnvelope.code, "E");
  EXPECT_EQ(errorEnvelope.message, "m");
  EXPECT_TRUE(errorEnvelope.details.isNull());

  // An engine may append a stack trace.
  Bytes withTrace = error;
  withTrace.insert(withTrace.end(), {0x07, 2, 'a', 't'});
  EXPECT_TRUE(
      StandardMethodCodec::decodeEnvelope(withTrace.data(), withTrace.size()));
  EXPECT_TRUE(std::holds_alternative<NotImplementedEnvelope>(
      *StandardMethodCodec::decodeEnvelope(nullptr, 0)));
  const Bytes bad[] = {
      {0x02}, {0x00}, {0x01, 0x03, 1, 0, 0, 0, 0, 0}, {0x00, 0x01, 0x01}};
  for (const Bytes& bytes : bad) {
    EXPECT_FALSE(
        StandardMethodCodec::decodeEnvelope(bytes.data(), bytes.size()));
  }
  Bytes notACall{0x03, 1, 0, 0, 0, 0x00};
  EXPECT_FALSE(
      StandardMethodCodec::decodeMethodCall(notACall.data(), notACall.size()));
}

}  // namespace
}  // namespace movaro
