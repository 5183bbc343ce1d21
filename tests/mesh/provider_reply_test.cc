#include "mesh/provider_reply.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>

#include "bridge/standard_codec.h"
#include "host/json_values.h"
#include "support/plugin_harness.h"

namespace movaro::platform {
namespace {

using Reply = std::optional<ValueMap>;

Reply decode(std::string_view text) {
  return ProviderReplyDecoder().decode(text);
}

// {"state":"aaa...a"}, exactly `size` bytes long.
std::string replyOfSize(size_t size) {
  const std::string head = "{\"state\":\"";
  return head + std::string(size - head.size() - 2, 'a') + "\"}";
}

// An empty array `depth` levels deep, counting the top-level object.
std::string nested(size_t depth) {
  return "{\"peers\":" + std::string(depth - 1, '[') +
         std::string(depth - 1, ']') + "}";
}

TEST(ProviderReplyTest, RefusesWhatIsNotOneStrictJsonObjectInUtf8) {
  EXPECT_EQ(ProviderReplyDecoder().decode(std::nullopt), std::nullopt);
  EXPECT_EQ(ProviderReplyDecoder().decode(std::string_view()), std::nullopt);
  std::string objects;
  for (int i = 0; i < 100000; ++i) {
    objects += "{\"peers\":";
  }
  objects += "1" + std::string(100000, '}');
  const std::string refused[] = {
      // Not an object at the top.
      "[]", "[{\"state\":\"x\"}]", "\"state\"", "42", "-1.5", "true", "false",
      "null",
      // Not JSON, or not strictly so.
      "", " ", "{", "}", "{\"state\"}", "{\"state\":}", "{\"state\":\"x\",}",
      "{\"state\":\"x\"", "{'state':'x'}", "{state:\"x\"}",
      "{\"state\":\"x\"} x", "{}{}", "{} // comment", "{\"state\":NaN}",
      "{\"state\":Infinity}", "{\"state\":01}", "{\"state\":1.}",
      "{\"state\":.5}", "{\"state\":+1}", "{\"state\":\"a\tb\"}",
      "{\"state\":\"\\x\"}", "{\"state\":\"\\u12\"}", "{\"state\":\"\\ud800\"}",
      "{\"state\":tru}", "{\"state\":nul}", std::string("{}\0", 3),
      std::string("{\"state\":\"a\0b\"}", 15),
      // Numbers beyond doubles, even where the key would be dropped.
      "{\"state\":1e400}", "{\"state\":-1e400}",
      "{\"state\":1" + std::string(400, '0') + "}", "{\"debug\":1e400}",
      "{\"debug\":-1e400}", "{\"debug\":1" + std::string(400, '0') + "}",
      // Invalid UTF-8: never valid, cut short, overlong "/", an encoded
      // surrogate, beyond U+10FFFF, in a dropped key or value, at the start.
      "{\"state\":\"\xFF\"}", "{\"state\":\"\xC3\"}",
      "{\"state\":\"\xC0\xAF\"}", "{\"state\":\"\xED\xA0\x80\"}",
      "{\"state\":\"\xF4\x90\x80\x80\"}", "{\"\xFF\":1}",
      "{\"debug\":\"\x80\"}", "\xFF{}",
      // UTF-16, with and without its byte-order mark; a UTF-8 one alone or
      // twice.
      std::string("\xFE\xFF\0{\0}", 6), std::string("{\0}\0", 4),
      "\xEF\xBB\xBF", "\xEF\xBB\xBF\xEF\xBB\xBF{}",
      // Beyond 256 KiB, whitespace included.
      replyOfSize(262145), "{}" + std::string(262143, ' '),
      // Nested too deeply.
      nested(StandardMessageCodec::kMaxDepth + 1), nested(100000), objects};
  for (const std::string& text : refused) {
    EXPECT_EQ(decode(text), std::nullopt) << text.substr(0, 80);
  }
}

TEST(ProviderReplyTest, KeepsOnlyTheSevenReplyKeys) {
  const std::pair<std::string, ValueMap> cases[] = {
      {"{}", {}},
      {" \t\r\n{ }\n", {}},
      {R"({"unknown":1,"other":{"state":"x"}})", {}},
      {R"({"state":"connected","debug":"x","peers":[]})",
       dict({{"state", "connected"}, {"peers", ValueList()}})},
      {R"({"state":"s","selfName":"n","selfAddresses":["100.64.0.1"],)"
       R"("peers":[],"sessionExpiresAt":"2031-01-01T00:00:00Z",)"
       R"("errorCode":"e","identityCleared":true,"State":"x","peer":1,)"
       R"("state ":2,"":3,"identityClearedX":4})",
       dict({{"state", "s"},
             {"selfName", "n"},
             {"selfAddresses", ValueList{"100.64.0.1"}},
             {"peers", ValueList()},
             {"sessionExpiresAt", "2031-01-01T00:00:00Z"},
             {"errorCode", "e"},
             {"identityCleared", true}})},
      // Keys are compared after their escapes are decoded.
      {R"({"st\u0061te":"x","\u0073elfName":"n"})",
       dict({{"state", "x"}, {"selfName", "n"}})},
      // Values are kept whatever their type; nested keys are not filtered.
      {R"({"state":7,"peers":{"anything":null}})",
       dict({{"state", 7}, {"peers", dict({{"anything", Value()}})}})},
      // Of duplicate keys the first wins, at every level.
      {R"({"state":"first","state":"second"})", dict({{"state", "first"}})},
      {R"({"peers":[{"name":"a","name":"b"}]})",
       dict({{"peers", ValueList{dict({{"name", "a"}})}}})},
      // A UTF-8 byte-order mark is skipped.
      {"\xEF\xBB\xBF{\"state\":\"x\"}", dict({{"state", "x"}})},
      // The size limit, 256 KiB, is inclusive; whitespace counts.
      {replyOfSize(262144), dict({{"state", std::string(262132, 'a')}})},
      {"{}" + std::string(262142, ' '), {}},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(decode(text), expected) << text.substr(0, 80);
  }
}

TEST(ProviderReplyTest, ConvertsValues) {
  const std::pair<const char*, Value> cases[] = {
      {"null", Value()},
      {"true", true},
      {"false", false},
      {"0", int32_t{0}},
      {"-0", int32_t{0}},
      {"-1", int32_t{-1}},
      {"2147483647", int32_t{2147483647}},
      {"-2147483648", int32_t{-2147483647 - 1}},
      {"2147483648", int64_t{2147483648}},
      {"-2147483649", int64_t{-2147483649}},
      {"9223372036854775807", int64_t{9223372036854775807}},
      {"-9223372036854775808", int64_t{-9223372036854775807 - 1}},
      {"9223372036854775808", 9223372036854775808.0},
      {"18446744073709551615", 18446744073709551615.0},
      {"18446744073709551616", 18446744073709551616.0},
      {"-9223372036854775809", -9223372036854775809.0},
      {"[\"100000000000000000000\",100000000000000000000,1e21]",
       ValueList{"100000000000000000000", 1e20, 1e21}},
      {"1.5", 1.5},
      {"1.0", 1.0},
      {"-0.0", -0.0},
      {"1e3", 1000.0},
      {"2.5E-1", 0.25},
      {"1.7976931348623157e308", 1.7976931348623157e308},
      {"\"\"", ""},
      {"\"caf\\u00e9 \\ud83d\\ude00 \\\"q\\\" \\\\ \\/ \\n\"",
       "caf\xC3\xA9 \xF0\x9F\x98\x80 \"q\" \\ / \n"},
      {"\"nul\\u0000inside\"", std::string("nul\0inside", 10)},
      {"\"raw \xC3\xA9\"", "raw \xC3\xA9"},
      {"[]", ValueList()},
      {"[1,\"a\",null,[true]]",
       ValueList{int32_t{1}, "a", Value(), ValueList{true}}},
      {"{\"b\":1,\"a\":{\"c\":[]}}",
       dict({{"a", dict({{"c", ValueList()}})}, {"b", 1}})},
  };
  for (const auto& [json, expected] : cases) {
    EXPECT_EQ(decode(std::string("{\"peers\":") + json + "}"),
              dict({{"peers", expected}}))
        << json;
  }
}

TEST(ProviderReplyTest, TheDeepestReplyStillTravelsThroughTheChannel) {
  const Reply deepest = decode(nested(StandardMessageCodec::kMaxDepth));
  ASSERT_TRUE(deepest.has_value());
  EXPECT_TRUE(StandardMessageCodec::decode(
      StandardMessageCodec::encode(Value(*deepest))));
}

TEST(ProviderReplyTest, DecoderCanBeReused) {
  ProviderReplyDecoder decoder;
  const std::string longReply =
      R"({"state":"connected","selfName":")" + std::string(1000, 'n') + R"("})";
  ASSERT_TRUE(decoder.decode(longReply).has_value());
  // A prefix of the earlier reply must not be completed by its old bytes.
  EXPECT_EQ(decoder.decode(std::string_view(longReply).substr(0, 20)),
            std::nullopt);
  EXPECT_EQ(decoder.decode(std::string_view("{}")), ValueMap());
  EXPECT_EQ(decoder.decode(R"({"state":"down"})"),
            Reply(dict({{"state", "down"}})));

  ProviderReplyDecoder moved = std::move(decoder);
  EXPECT_EQ(moved.decode(R"({"errorCode":"x"})"),
            Reply(dict({{"errorCode", "x"}})));
}

TEST(ProviderReplyTest, EncodesCommandsCompactly) {
  EXPECT_EQ(encodeCommand("status"), R"({"command":"status"})");
  EXPECT_EQ(encodeCommand("logout"), R"({"command":"logout"})");
  EXPECT_EQ(encodeCommand(""), R"({"command":""})");
  EXPECT_EQ(encodeCommand("a\"b\\c/d"), R"({"command":"a\"b\\c\/d"})");
  EXPECT_EQ(encodeCommand("\b\f\n\r\t"), R"({"command":"\b\f\n\r\t"})");
  EXPECT_EQ(encodeCommand(std::string("\0\x01\x1f\x7f", 4)),
            "{\"command\":\"\\u0000\\u0001\\u001f\x7f\"}");
  EXPECT_EQ(encodeCommand("caf\xC3\xA9"), "{\"command\":\"caf\xC3\xA9\"}");
  // Every ASCII character reads back as itself.
  for (int c = 0; c < 0x80; ++c) {
    const std::string command = "x" + std::string(1, static_cast<char>(c));
    EXPECT_EQ(host::Json::parse(encodeCommand(command), nullptr, false),
              host::Json({{"command", command}}))
        << c;
  }
}

}  // namespace
}  // namespace movaro::platform
