#include "platform/text/unicode_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace movaro::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string utf8(char32_t scalar) {
  std::string out;
  appendUtf8(out, scalar);
  return out;
}

std::string repeat(std::string_view piece, size_t times) {
  std::string out;
  out.reserve(piece.size() * times);
  for (size_t i = 0; i < times; ++i) {
    out += piece;
  }
  return out;
}

// ICU's own UTF-8 reading, for comparison.
std::string viaIcu(std::string_view bytes) {
  std::vector<UChar> units(bytes.size() + 1);
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8WithSub(
      units.data(), static_cast<int32_t>(units.size()), &length, bytes.data(),
      static_cast<int32_t>(bytes.size()), 0xFFFD, nullptr, &status);
  EXPECT_TRUE(U_SUCCESS(status));
  std::string out;
  for (int32_t i = 0; i < length;) {
    UChar32 c = 0;
    U16_NEXT(units.data(), i, length, c);
    appendUtf8(out, static_cast<char32_t>(c));
  }
  return out;
}

// Short byte strings rich in lead bytes, continuation bytes and the bytes of
// the white-space and newline scalars.
std::vector<std::string> randomByteStrings(size_t count) {
  static constexpr unsigned char kBytes[] = {
      'a',  ' ',  '\t', '\n', '\r', 0x00, 0x80, 0x85, 0x8F, 0x90, 0x9F,
      0xA0, 0xA8, 0xBF, 0xC0, 0xC2, 0xDF, 0xE0, 0xE1, 0xE2, 0xED, 0xEF,
      0xF0, 0xF4, 0xF5, 0xFF, 0x80, 0x80, 0xE3, 0x9A, 0xCC, 0x81};
  std::mt19937 random(20240611);
  std::uniform_int_distribution<size_t> length(0, 12);
  std::uniform_int_distribution<size_t> pick(0, std::size(kBytes) - 1);
  std::vector<std::string> strings;
  for (size_t i = 0; i < count; ++i) {
    std::string bytes;
    for (size_t n = length(random); n > 0; --n) {
      bytes += static_cast<char>(kBytes[pick(random)]);
    }
    strings.push_back(bytes);
  }
  return strings;
}

TEST(UnicodeTextTest, WhitespaceAndNewlinesIsFoundationsSet) {
  const struct {
    char32_t scalar;
    bool whitespaceOrNewline;
    bool whitespace;
  } kTestCases[] = {
      {U'\t', true, true},    {U'\n', true, false},   {0x0B, true, false},
      {0x0C, true, false},    {U'\r', true, false},   {U' ', true, true},
      {0x85, true, false},    {0xA0, true, true},     {0x1680, true, true},
      {0x2000, true, true},   {0x200A, true, true},   {0x202F, true, true},
      {0x205F, true, true},   {0x3000, true, true},   {0x2028, true, false},
      {0x2029, true, false},  {0xFEFF, false, false}, {0x200B, false, false},
      {0x180E, false, false}, {0x1C, false, false},   {0x00, false, false},
      {U'x', false, false},   {0xFFFD, false, false},
  };
  for (const auto& test : kTestCases) {
    SCOPED_TRACE(static_cast<uint32_t>(test.scalar));
    EXPECT_EQ(isWhitespaceOrNewline(test.scalar), test.whitespaceOrNewline);
    EXPECT_EQ(isWhitespace(test.scalar), test.whitespace);
    const std::string padded = utf8(test.scalar) + "x" + utf8(test.scalar);
    EXPECT_EQ(trimWhitespaceAndNewlines(padded),
              test.whitespaceOrNewline ? "x" : padded);
    EXPECT_EQ(trimSpacesAndTabs(padded), test.whitespace ? "x" : padded);
  }
}

TEST(UnicodeTextTest, TrimKeepsInnerTextAndIllFormedBytes) {
  EXPECT_EQ(trimWhitespaceAndNewlines("  Cafe  "), "Cafe");
  EXPECT_EQ(trimWhitespaceAndNewlines(" a \u00A0 b\r\n"), "a \u00A0 b");
  EXPECT_EQ(trimWhitespaceAndNewlines(" \t\u2028 "), "");
  EXPECT_EQ(trimSpacesAndTabs("\n a \t"), "\n a");
  // A lone lead byte of NBSP or NEL is not white space.
  EXPECT_EQ(trimWhitespaceAndNewlines(" \xC2"), "\xC2");
  EXPECT_EQ(trimWhitespaceAndNewlines("\x85 x"), "\x85 x");
  EXPECT_EQ(trimWhitespaceAndNewlines("x\xE2\x80\u2028"), "x\xE2\x80");
}

TEST(UnicodeTextTest, TrimReadsTheEndAsTheStartReadsIt) {
  const std::string kPads[] = {"", " ", "\u0085", "\u2028\u00A0", "\r\n\t"};
  for (const std::string& core : randomByteStrings(3000)) {
    const std::string expected = trimWhitespaceAndNewlines(core);
    for (const std::string& pad : kPads) {
      SCOPED_TRACE(testing::PrintToString(core) + " padded with " +
                   testing::PrintToString(pad));
      EXPECT_EQ(trimWhitespaceAndNewlines(pad + core + pad), expected);
    }
  }
}

TEST(UnicodeTextTest, IllFormedBytesReadAsIcuReadsThem) {
  for (const std::string& bytes : randomByteStrings(5000)) {
    SCOPED_TRACE(testing::PrintToString(bytes));
    const std::string repaired = toValidUtf8(bytes);
    EXPECT_EQ(repaired, viaIcu(bytes));
    EXPECT_TRUE(isValidUtf8(repaired));
    EXPECT_EQ(isValidUtf8(bytes), repaired == bytes);
  }
}

TEST(UnicodeTextTest, DecodeUsesMaximalSubparts) {
  const struct {
    std::string bytes;
    char32_t scalar;
    size_t length;
  } kTestCases[] = {
      {"A", U'A', 1},
      {"\xC3\xA9", 0xE9, 2},
      {"\xF0\x9F\x91\x8D", 0x1F44D, 4},
      {"\xE2\x82x", 0xFFFD, 2},
      {"\xF0\x9F\x98", 0xFFFD, 3},
      {"\xED\xA0\x80", 0xFFFD, 1},  // surrogate
      {"\xC0\xAF", 0xFFFD, 1},      // overlong
      {"\xE0\x80\x80", 0xFFFD, 1},  // overlong
      {"\xF4\x90\x80\x80", 0xFFFD, 1},
      {"\x80", 0xFFFD, 1},
      {"\xFF", 0xFFFD, 1},
  };
  for (const auto& test : kTestCases) {
    SCOPED_TRACE(testing::PrintToString(test.bytes));
    const DecodedScalar decoded = decodeUtf8(test.bytes, 0);
    EXPECT_EQ(decoded.scalar, test.scalar);
    EXPECT_EQ(decoded.length, test.length);
  }
}

TEST(UnicodeTextTest, SplitLinesAtEverySwiftNewline) {
  EXPECT_THAT(splitLines("a\r\nb\nc\rd\ve\ff\u0085g\u2028h\u2029i"),
              ElementsAre("a", "b", "c", "d", "e", "f", "g", "h", "i"));
  EXPECT_THAT(splitLines("\n\na\n\r\n  \n"), ElementsAre("a", "  "));
  EXPECT_THAT(splitLines("\n\na\n\r\n  \n", true),
              ElementsAre("", "", "a", "", "  ", ""));
  EXPECT_THAT(splitLines("a\n\rb", true), ElementsAre("a", "", "b"));
  EXPECT_THAT(splitLines(""), IsEmpty());
  EXPECT_THAT(splitLines("", true), ElementsAre(""));
  // A stray 0x85 is not NEL; an ill-formed lead before a real NEL is text.
  EXPECT_THAT(splitLines("a\x85z"), ElementsAre("a\x85z"));
  EXPECT_THAT(splitLines("a\xE2\u0085z"), ElementsAre("a\xE2", "z"));
  // U+2028 is a separator, U+2027 and U+202F are not.
  EXPECT_THAT(splitLines("a\u2027b\u202Fc"), ElementsAre("a\u2027b\u202Fc"));
}

TEST(UnicodeTextTest, FindCharacterSkipsCharactersJoinedToOthers) {
  const struct {
    std::string text;
    size_t first;
  } kTestCases[] = {
      {"a#b", 1},
      {"#\u0301#", 3},                 // combining acute joins the first '#'
      {"\u0600#", std::string::npos},  // prepended concatenation mark
      {"#\u200D", std::string::npos},  // zero-width joiner
      {"#\uFE0F\u20E3", std::string::npos},  // keycap sequence
      {"#\u0903", std::string::npos},        // spacing mark
      {"\u0915#", 3},                        // a letter before is fine
      {"\u0301#", 2},                        // a mark before is fine
      {"\xCC#", 1},                          // ill-formed neighbours too
      {"", std::string::npos},
  };
  for (const auto& test : kTestCases) {
    SCOPED_TRACE(testing::PrintToString(test.text));
    EXPECT_EQ(findCharacter(test.text, '#'), test.first);
  }
  EXPECT_EQ(findCharacter("a=b=c", '=', 2), 3u);
  EXPECT_EQ(findLastCharacter("a/b/\u0301c", '/'), 1u);
  EXPECT_EQ(findLastCharacter("/", '/'), 0u);
  EXPECT_EQ(findLastCharacter("abc", '/'), std::string::npos);
}

TEST(UnicodeTextTest, GraphemeCountCountsUserPerceivedCharacters) {
  const struct {
    std::string text;
    size_t count;
  } kTestCases[] = {
      {"", 0},
      {"Home", 4},
      {"e\u0301", 1},
      {"\r\n", 1},
      {"\n\r", 2},
      {"\U0001F1EB\U0001F1F7", 1},                        // flag
      {"\U0001F468\u200D\U0001F469\u200D\U0001F467", 1},  // family
      {"\U0001F44D\U0001F3FD", 1},                        // skin tone
      {"\u1100\u1161\u11A8", 1},                          // Hangul jamo
      {"\xFF\xFE", 2},
  };
  for (const auto& test : kTestCases) {
    SCOPED_TRACE(testing::PrintToString(test.text));
    EXPECT_EQ(graphemeCount(test.text), test.count);
  }
}

TEST(UnicodeTextTest, ThirtyTwoAccentedLettersAreThirtyTwoCharacters) {
  const std::string composed = repeat("\u00E9", 32);
  const std::string decomposed = repeat("e\u0301", 32);
  EXPECT_EQ(composed.size(), 64u);
  EXPECT_EQ(graphemeCount(composed), 32u);
  EXPECT_EQ(graphemeCount(decomposed), 32u);
  EXPECT_EQ(graphemeCount(composed + "x"), 33u);
}

TEST(UnicodeTextTest, LongTextIsCountedAndComposedExactly) {
  // Long enough to be handed to ICU in several pieces.
  const std::string unit = "a\U0001F44D\U0001F3FDe\u0301\r\n\u00E9";
  const std::string text = repeat(unit, 20000);
  EXPECT_EQ(graphemeCount(text), 5u * 20000);
  EXPECT_EQ(toNfc(text),
            repeat("a\U0001F44D\U0001F3FD\u00E9\r\n\u00E9", 20000));
  // A run with no place to cut stays whole.
  EXPECT_EQ(graphemeCount(repeat("e\u0301", 50000)), 50000u);
  EXPECT_EQ(toNfc(repeat("e\u0301", 50000)), repeat("\u00E9", 50000));
}

TEST(UnicodeTextTest, ToNfcComposesCanonically) {
  EXPECT_EQ(toNfc("e\u0301"), "\u00E9");
  EXPECT_EQ(toNfc("\u212B"), "\u00C5");  // Angstrom sign
  EXPECT_EQ(toNfc("q\u0307\u0323"), "q\u0323\u0307");
  EXPECT_EQ(toNfc("Home"), "Home");
  EXPECT_EQ(toNfc("\uFB01"), "\uFB01");  // compatibility only: unchanged
  EXPECT_EQ(toNfc("e\xFF\u0301"), "e\uFFFD\u0301");
}

TEST(UnicodeTextTest, CanonicalEqualityIgnoresEncodingNotCase) {
  EXPECT_TRUE(canonicallyEqual("e\u0301", "\u00E9"));
  EXPECT_TRUE(canonicallyEqual("Caf\u00E9", "Cafe\u0301"));
  EXPECT_TRUE(canonicallyEqual("q\u0307\u0323", "q\u0323\u0307"));
  EXPECT_FALSE(canonicallyEqual("Home", "home"));
  EXPECT_FALSE(canonicallyEqual("\uFB01", "fi"));
}

TEST(UnicodeTextTest, OrderIsByScalarsOfTheComposedForm) {
  EXPECT_TRUE(lessByNfcScalars("Zoom", "calendar"));
  EXPECT_TRUE(lessByNfcScalars("calendar", "\u00C9clair"));
  EXPECT_TRUE(lessByNfcScalars("calendar", "E\u0301clair"));
  EXPECT_FALSE(lessByNfcScalars("\u00C9clair", "Zoom"));
  // Raw bytes would put "e" + U+0301 before "f"; composed, é comes after.
  EXPECT_TRUE(lessByNfcScalars("f", "e\u0301"));
  EXPECT_FALSE(lessByNfcScalars("e\u0301", "\u00E9"));
  EXPECT_FALSE(lessByNfcScalars("\u00E9", "e\u0301"));
  // U+FFFF sorts before U+10000 by scalar, unlike UTF-16 code units.
  EXPECT_TRUE(lessByNfcScalars("\uFFFF", "\U00010000"));
}

TEST(UnicodeTextTest, LowercasedMapsEachScalarFully) {
  const struct {
    std::string text;
    std::string lower;
  } kTestCases[] = {
      {"[InTeRfAcE]", "[interface]"},
      {"\u00C0\u00C9", "\u00E0\u00E9"},
      {"\u0130", "i\u0307"},                         // dotted capital I
      {"\u03A3\u0391\u03A3", "\u03C3\u03B1\u03C3"},  // no final sigma
      {"\u212A", "k"},                               // Kelvin sign
      {"Stra\u00DFe", "stra\u00DFe"},
      {"\U00010400", "\U00010428"},  // Deseret
      {"A\xFF", "a\uFFFD"},
  };
  for (const auto& test : kTestCases) {
    SCOPED_TRACE(test.text);
    EXPECT_EQ(lowercased(test.text), test.lower);
  }
}

// The trusted Wi-Fi list is built from these helpers: trim, drop empty names
// and names over 32 characters, drop canonical duplicates, sort.
TEST(UnicodeTextTest, BuildingBlocksOfTheTrustedNetworkList) {
  const std::string longName(33, 'n');
  const std::vector<std::string> input = {"  Cafe  ", "Home",   "Home", "",
                                          "Office",   longName, "home"};
  std::vector<std::string> kept;
  for (const std::string& raw : input) {
    const std::string name = trimWhitespaceAndNewlines(raw);
    if (name.empty() || graphemeCount(name) > 32) {
      continue;
    }
    const bool seen =
        std::any_of(kept.begin(), kept.end(), [&](const std::string& other) {
          return canonicallyEqual(other, name);
        });
    if (!seen) {
      kept.push_back(name);
    }
  }
  std::stable_sort(kept.begin(), kept.end(), lessByNfcScalars);
  EXPECT_THAT(kept, ElementsAre("Cafe", "Home", "Office", "home"));
}

}  // namespace
}  // namespace movaro::platform
