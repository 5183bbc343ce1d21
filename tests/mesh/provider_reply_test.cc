#include "mesh/provider_reply.h"

#include <gtest/gtest.h>
#include <simdjson.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "bridge/standard_codec.h"

namespace movaro::platform {
namespace {

// A readable form of a value for failure messages.
std::string describe(const Value& value) {
  return std::visit(
      [](const auto& x) -> std::string {
        using T = std::decay_t<decltype(x)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          return "null";
        } else if constexpr (std::is_same_v<T, bool>) {
          return x ? "true" : "false";
        } else if constexpr (std::is_same_v<T, int32_t>) {
          return "i32:" + std::to_string(x);
        } else if constexpr (std::is_same_v<T, int64_t>) {
          return "i64:" + std::to_string(x);
        } else if constexpr (std::is_same_v<T, double>) {
          return "f64:" + std::to_string(x);
        } else if constexpr (std::is_same_v<T, std::string>) {
          return "\"" + x + "\"";
        } else if constexpr (std::is_same_v<T, ValueList>) {
          std::string out = "[";
          for (const Value& item : x) {
            out += describe(item) + ",";
          }
          return out + "]";
        } else if constexpr (std::is_same_v<T, ValueMap>) {
          std::string out = "{";
          for (const auto& [key, item] : x) {
            out += describe(key) + ":" + describe(item) + ",";
          }
          return out + "}";
        } else {
          return "(typed list)";
        }
      },
      value.variant());
}

std::string describe(const std::optional<ValueMap>& map) {
  return map ? describe(Value(*map)) : "(no reply)";
}

std::optional<ValueMap> decode(std::string_view text) {
  ProviderReplyDecoder decoder;
  return decoder.decode(text);
}

#define EXPECT_REPLY(text, expected)                        \
  do {                                                      \
    const std::optional<ValueMap> actual_ = decode(text);   \
    const std::optional<ValueMap> expected_ = (expected);   \
    EXPECT_TRUE(actual_ == expected_)                       \
        << "reply:    " << std::string(text).substr(0, 200) \
        << "\nactual:   " << describe(actual_)              \
        << "\nexpected: " << describe(expected_);           \
  } while (false)

const std::optional<ValueMap> kNoReply = std::nullopt;

TEST(ProviderReplyTest, NoBytesIsNoReply) {
  ProviderReplyDecoder decoder;
  EXPECT_EQ(decoder.decode(std::nullopt), kNoReply);
  EXPECT_EQ(decoder.decode(std::string_view()), kNoReply);
}

TEST(ProviderReplyTest, EmptyObjectIsAnEmptyMap) {
  EXPECT_REPLY("{}", ValueMap());
  EXPECT_REPLY(" \t\r\n{ }\n", ValueMap());
  EXPECT_REPLY(R"({"unknown":1,"other":{"state":"x"}})", ValueMap());
}

TEST(ProviderReplyTest, KeepsOnlyTheSevenReplyKeys) {
  EXPECT_REPLY(R"({"state":"connected","debug":"x","peers":[]})",
               dict({{"state", "connected"}, {"peers", ValueList()}}));
  EXPECT_REPLY(R"({"state":"s","selfName":"n","selfAddresses":["100.64.0.1"],)"
               R"("peers":[],"sessionExpiresAt":"2031-01-01T00:00:00Z",)"
               R"("errorCode":"e","identityCleared":true,"State":"x","peer":1,)"
               R"("state ":2,"":3,"identityClearedX":4})",
               dict({{"state", "s"},
                     {"selfName", "n"},
                     {"selfAddresses", ValueList{"100.64.0.1"}},
                     {"peers", ValueList()},
                     {"sessionExpiresAt", "2031-01-01T00:00:00Z"},
                     {"errorCode", "e"},
                     {"identityCleared", true}}));
  // Keys are compared after their escapes are decoded.
  EXPECT_REPLY(R"({"st\u0061te":"x","\u0073elfName":"n"})",
               dict({{"state", "x"}, {"selfName", "n"}}));
  // Values are kept whatever their type; nested keys are not filtered.
  EXPECT_REPLY(R"({"state":7,"peers":{"anything":null}})",
               dict({{"state", 7}, {"peers", dict({{"anything", Value()}})}}));
}

TEST(ProviderReplyTest, TopLevelMustBeAnObject) {
  const char* const refused[] = {
      "[]",   "[{\"state\":\"x\"}]", "\"state\"", "42", "-1.5", "true", "false",
      "null",
  };
  for (const char* text : refused) {
    EXPECT_REPLY(text, kNoReply);
  }
}

TEST(ProviderReplyTest, RefusesTextThatIsNotJson) {
  const char* const refused[] = {
      "",
      " ",
      "{",
      "}",
      "{\"state\"}",
      "{\"state\":}",
      "{\"state\":\"x\",}",  // trailing comma
      "{\"state\":\"x\"",
      "{'state':'x'}",
      "{state:\"x\"}",
      "{\"state\":\"x\"} x",
      "{}{}",
      "{} // comment",
      "{\"state\":NaN}",
      "{\"state\":Infinity}",
      "{\"state\":01}",
      "{\"state\":1.}",
      "{\"state\":.5}",
      "{\"state\":+1}",
      "{\"state\":\"a\tb\"}",  // unescaped control character
      "{\"state\":\"\\x\"}",   // unknown escape
      "{\"state\":\"\\u12\"}",
      "{\"state\":\"\\ud800\"}",  // lone surrogate
      "{\"state\":tru}",
      "{\"state\":nul}",
  };
  for (const char* text : refused) {
    EXPECT_REPLY(text, kNoReply);
  }
  EXPECT_REPLY(std::string("{}\0", 3), kNoReply);
  EXPECT_REPLY(std::string("{\"state\":\"a\0b\"}", 15), kNoReply);
}

TEST(ProviderReplyTest, ConvertsValues) {
  struct Case {
    const char* json;
    Value expected;
  };
  const Case cases[] = {
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
  for (const Case& c : cases) {
    const std::string text = std::string("{\"peers\":") + c.json + "}";
    EXPECT_REPLY(text, dict({{"peers", c.expected}}));
  }
}

TEST(ProviderReplyTest, NumbersBeyondDoublesRefuseTheReply) {
  for (const std::string& number : {std::string("1e400"), std::string("-1e400"),
                                    "1" + std::string(400, '0')}) {
    EXPECT_REPLY("{\"state\":" + number + "}", kNoReply);
    // Even where the key would be dropped, the text must decode.
    EXPECT_REPLY("{\"debug\":" + number + "}", kNoReply);
  }
}

TEST(ProviderReplyTest, FirstOfDuplicateKeysWins) {
  EXPECT_REPLY(R"({"state":"first","state":"second"})",
               dict({{"state", "first"}}));
  EXPECT_REPLY(R"({"peers":[{"name":"a","name":"b"}]})",
               dict({{"peers", ValueList{dict({{"name", "a"}})}}}));
}

TEST(ProviderReplyTest, ReplyLimitIsInclusive) {
  // {"state":"aaa...a"} padded to an exact length.
  auto replyOfSize = [](size_t size) {
    const std::string head = "{\"state\":\"";
    return head + std::string(size - head.size() - 2, 'a') + "\"}";
  };
  const std::string atLimit = replyOfSize(kReplyLimitBytes);
  ASSERT_EQ(atLimit.size(), 262144u);
  std::optional<ValueMap> decoded = decode(atLimit);
  ASSERT_TRUE(decoded.has_value());
  const Value* state = find(*decoded, "state");
  ASSERT_NE(state, nullptr);
  EXPECT_EQ(state->getIf<std::string>()->size(), 262144u - 12u);

  EXPECT_REPLY(replyOfSize(kReplyLimitBytes + 1), kNoReply);
  // Whitespace counts as well.
  EXPECT_REPLY("{}" + std::string(kReplyLimitBytes - 2, ' '), ValueMap());
  EXPECT_REPLY("{}" + std::string(kReplyLimitBytes - 1, ' '), kNoReply);
}

TEST(ProviderReplyTest, DeepNestingIsRefusedWithoutCrashing) {
  auto nested = [](size_t depth) {
    // The top-level object is the first level.
    return "{\"peers\":" + std::string(depth - 1, '[') +
           std::string(depth - 1, ']') + "}";
  };
  // The deepest reply decoded still travels through the channel's codec.
  constexpr size_t kMax = StandardMessageCodec::kMaxDepth;
  const std::optional<ValueMap> deepest = decode(nested(kMax));
  ASSERT_TRUE(deepest.has_value());
  EXPECT_TRUE(StandardMessageCodec::decode(
      StandardMessageCodec::encode(Value(*deepest))));
  EXPECT_REPLY(nested(kMax + 1), kNoReply);
  EXPECT_REPLY(nested(100000), kNoReply);
  std::string objects;
  for (int i = 0; i < 100000; ++i) {
    objects += "{\"peers\":";
  }
  objects += "1" + std::string(100000, '}');
  EXPECT_REPLY(objects, kNoReply);
}

TEST(ProviderReplyTest, RefusesInvalidUtf8) {
  const char* const refused[] = {
      "{\"state\":\"\xFF\"}",              // never valid
      "{\"state\":\"\xC3\"}",              // cut-short sequence
      "{\"state\":\"\xC0\xAF\"}",          // overlong "/"
      "{\"state\":\"\xED\xA0\x80\"}",      // encoded surrogate
      "{\"state\":\"\xF4\x90\x80\x80\"}",  // beyond U+10FFFF
      "{\"\xFF\":1}",                      // in a dropped key
      "{\"debug\":\"\x80\"}",              // in a dropped value
      "\xFF{}",
  };
  for (const char* text : refused) {
    EXPECT_REPLY(text, kNoReply);
  }
  // UTF-16 text, with and without its byte-order mark.
  EXPECT_REPLY(std::string("\xFE\xFF\0{\0}", 6), kNoReply);
  EXPECT_REPLY(std::string("{\0}\0", 4), kNoReply);
}

TEST(ProviderReplyTest, SkipsAUtf8ByteOrderMark) {
  EXPECT_REPLY("\xEF\xBB\xBF{\"state\":\"x\"}", dict({{"state", "x"}}));
  EXPECT_REPLY("\xEF\xBB\xBF", kNoReply);
  EXPECT_REPLY("\xEF\xBB\xBF\xEF\xBB\xBF{}", kNoReply);
}

TEST(ProviderReplyTest, DecoderCanBeReused) {
  ProviderReplyDecoder decoder;
  const std::string longReply =
      R"({"state":"connected","selfName":")" + std::string(1000, 'n') + R"("})";
  ASSERT_TRUE(decoder.decode(longReply).has_value());
  // A prefix of the earlier reply must not be completed by its old bytes.
  EXPECT_EQ(decoder.decode(std::string_view(longReply).substr(0, 20)),
            kNoReply);
  EXPECT_EQ(decoder.decode(std::string_view("{}")), ValueMap());
  EXPECT_EQ(decoder.decode(R"({"state":"down"})"),
            std::optional<ValueMap>(dict({{"state", "down"}})));

  ProviderReplyDecoder moved = std::move(decoder);
  EXPECT_EQ(moved.decode(R"({"errorCode":"x"})"),
            std::optional<ValueMap>(dict({{"errorCode", "x"}})));
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
}

TEST(ProviderReplyTest, EncodedCommandsDecodeToTheSameText) {
  simdjson::dom::parser parser;
  for (int c = 0; c < 0x80; ++c) {
    const std::string command = "x" + std::string(1, static_cast<char>(c));
    const simdjson::padded_string request(encodeCommand(command));
    simdjson::dom::element root;
    ASSERT_EQ(parser.parse(request).get(root), simdjson::SUCCESS) << c;
    simdjson::dom::object object;
    ASSERT_EQ(root.get(object), simdjson::SUCCESS);
    EXPECT_EQ(object.size(), 1u);
    std::string_view decoded;
    ASSERT_EQ(object["command"].get(decoded), simdjson::SUCCESS);
    EXPECT_EQ(decoded, command) << c;
  }
}

}  // namespace
}  // namespace movaro::platform
