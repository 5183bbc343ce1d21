#include "platform/text/unicode_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unicode/unistr.h>

#include <cstdint>
#include <random>
#include <string>
#include <tuple>

namespace movaro::platform {
namespace {

using ::testing::ElementsAre;

std::string repeat(std::string_view piece, size_t times) {
  std::string out;
  while (times-- > 0) {
    out += piece;
  }
  return out;
}

// ICU's own UTF-8 reading, for comparison.
std::string viaIcu(std::string_view bytes) {
  std::string out;
  return icu::UnicodeString::fromUTF8(
             icu::StringPiece(bytes.data(), static_cast<int32_t>(bytes.size())))
      .toUTF8String(out);
}

TEST(UnicodeTextTest, TrimsFoundationsWhitespaceAndNewlines) {
  // Each scalar: whether it is white space or a newline, whether white space.
  const std::tuple<char32_t, bool, bool> kScalars[] = {
      {U'\t', true, true},    {U'\n', true, false},   {0x0B, true, false},
      {U'\r', true, false},   {U' ', true, true},     {0x85, true, false},
      {0xA0, true, true},     {0x1680, true, true},   {0x3000, true, true},
      {0x2028, true, false},  {0x2029, true, false},  {0xFEFF, false, false},
      {0x200B, false, false}, {0x180E, false, false}, {0x1C, false, false},
      {0xFFFD, false, false},
  };
  for (const auto& [scalar, whitespaceOrNewline, whitespace] : kScalars) {
    SCOPED_TRACE(static_cast<uint32_t>(scalar));
    EXPECT_EQ(isWhitespaceOrNewline(scalar), whitespaceOrNewline);
    EXPECT_EQ(isWhitespace(scalar), whitespace);
    std::string padded;
    appendUtf8(padded, scalar);
    padded += "x" + padded;
    EXPECT_EQ(trimWhitespaceAndNewlines(padded),
              whitespaceOrNewline ? "x" : padded);
    EXPECT_EQ(trimSpacesAndTabs(padded), whitespace ? "x" : padded);
  }
  // Trimming keeps inner white space and ill-formed bytes.
  EXPECT_EQ(trimWhitespaceAndNewlines(" a \u00A0 b\r\n"), "a \u00A0 b");
  EXPECT_EQ(trimWhitespaceAndNewlines(" \t\u2028 "), "");
  // A lone lead byte of NBSP or NEL is not white space.
  EXPECT_EQ(trimWhitespaceAndNewlines(" \xC2"), "\xC2");
  EXPECT_EQ(trimWhitespaceAndNewlines("\x85 x"), "\x85 x");
  EXPECT_EQ(trimWhitespaceAndNewlines("x\xE2\x80\u2028"), "x\xE2\x80");
}

// Each maximal ill-formed subpart reads as one U+FFFD, as ICU reads it; the
// end of a text is read as its start is. The random byte strings are rich in
// lead bytes, continuation bytes and the bytes of white space and newlines.
TEST(UnicodeTextTest, RandomBytesReadAsIcuReadsThemFromEitherEnd) {
  static constexpr unsigned char kBytes[] = {
      'a',  ' ',  '\t', '\n', '\r', 0x00, 0x80, 0x85, 0x8F, 0x90, 0x9F,
      0xA0, 0xA8, 0xBF, 0xC0, 0xC2, 0xDF, 0xE0, 0xE1, 0xE2, 0xED, 0xEF,
      0xF0, 0xF4, 0xF5, 0xFF, 0x80, 0x80, 0xE3, 0x9A, 0xCC, 0x81};
  const std::string kPads[] = {"", " ", "\u0085", "\u2028\u00A0", "\r\n\t"};
  std::mt19937 random(20240611);
  std::uniform_int_distribution<size_t> length(0, 12);
  std::uniform_int_distribution<size_t> pick(0, std::size(kBytes) - 1);
  for (int i = 0; i < 5000; ++i) {
    std::string bytes;
    for (size_t n = length(random); n > 0; --n) {
      bytes += static_cast<char>(kBytes[pick(random)]);
    }
    SCOPED_TRACE(testing::PrintToString(bytes));
    const std::string repaired = toValidUtf8(bytes);
    EXPECT_EQ(repaired, viaIcu(bytes));
    EXPECT_TRUE(isValidUtf8(repaired));
    EXPECT_EQ(isValidUtf8(bytes), repaired == bytes);
    const std::string trimmed = trimWhitespaceAndNewlines(bytes);
    for (const std::string& pad : kPads) {
      EXPECT_EQ(trimWhitespaceAndNewlines(pad + bytes + pad), trimmed)
          << testing::PrintToString(pad);
    }
  }
}

TEST(UnicodeTextTest, SplitsAtEverySwiftNewlineAndFindsWholeCharacters) {
  EXPECT_THAT(splitLines("a\r\nb\nc\rd\ve\ff\u0085g\u2028h\u2029i"),
              ElementsAre("a", "b", "c", "d", "e", "f", "g", "h", "i"));
  EXPECT_THAT(splitLines("\n\na\n\r\n  \n"), ElementsAre("a", "  "));
  EXPECT_THAT(splitLines("\n\na\n\r\n  \n", true),
              ElementsAre("", "", "a", "", "  ", ""));
  EXPECT_THAT(splitLines("a\n\rb", true), ElementsAre("a", "", "b"));
  EXPECT_TRUE(splitLines("").empty());
  // A stray 0x85 is not NEL; an ill-formed lead before a real NEL is text.
  EXPECT_THAT(splitLines("a\x85z"), ElementsAre("a\x85z"));
  EXPECT_THAT(splitLines("a\xE2\u0085z"), ElementsAre("a\xE2", "z"));
  // U+2028 is a separator, U+2027 and U+202F are not.
  EXPECT_THAT(splitLines("a\u2027b\u202Fc"), ElementsAre("a\u2027b\u202Fc"));
  // A character joined to others by a mark or joiner is not found.
  constexpr size_t kNone = std::string::npos;
  EXPECT_EQ(findCharacter("#\u0301#", '#'), 3u);    // U+0301 joins the first
  EXPECT_EQ(findCharacter("\u0600#", '#'), kNone);  // prepended mark
  EXPECT_EQ(findCharacter("#\u200D", '#'), kNone);  // zero-width joiner
  EXPECT_EQ(findCharacter("#\u0903", '#'), kNone);  // spacing mark
  EXPECT_EQ(findCharacter("\u0301#", '#'), 2u);     // a mark before is fine
  EXPECT_EQ(findCharacter("\xCC#", '#'), 1u);       // ill-formed too
  EXPECT_EQ(findCharacter("a=b=c", '=', 2), 3u);
  EXPECT_EQ(findLastCharacter("a/b/\u0301c", '/'), 1u);
  EXPECT_EQ(findLastCharacter("/", '/'), 0u);
  EXPECT_EQ(findLastCharacter("abc", '/'), kNone);
}

TEST(UnicodeTextTest, CountsComposesComparesAndOrdersCanonically) {
  EXPECT_EQ(graphemeCount(""), 0u);
  EXPECT_EQ(graphemeCount("e\u0301"), 1u);
  EXPECT_EQ(graphemeCount("\r\n"), 1u);
  EXPECT_EQ(graphemeCount("\U0001F1EB\U0001F1F7"), 1u);  // a flag
  EXPECT_EQ(graphemeCount("\xFF\xFE"), 2u);
  // Long enough to be handed to ICU in several pieces.
  const std::string unit = "a\U0001F44D\U0001F3FDe\u0301\r\n\u00E9";
  const std::string text = repeat(unit, 20000);
  EXPECT_EQ(graphemeCount(text), 5u * 20000);
  EXPECT_EQ(toNfc(text),
            repeat("a\U0001F44D\U0001F3FD\u00E9\r\n\u00E9", 20000));
  // A run with no place to cut stays whole.
  EXPECT_EQ(graphemeCount(repeat("e\u0301", 50000)), 50000u);
  EXPECT_EQ(toNfc(repeat("e\u0301", 50000)), repeat("\u00E9", 50000));
  EXPECT_EQ(toNfc("e\u0301"), "\u00E9");
  EXPECT_EQ(toNfc("Home"), "Home");
  EXPECT_EQ(toNfc("\uFB01"), "\uFB01");  // compatibility only: unchanged
  EXPECT_EQ(toNfc("e\xFF\u0301"), "e\uFFFD\u0301");
  EXPECT_TRUE(canonicallyEqual("Caf\u00E9", "Cafe\u0301"));
  EXPECT_FALSE(canonicallyEqual("Home", "home"));
  EXPECT_FALSE(canonicallyEqual("\uFB01", "fi"));
  // By the scalars of the composed forms: no case folding, and a composed
  // letter after every ASCII one (raw bytes would put e + U+0301 before f).
  EXPECT_TRUE(lessByNfcScalars("Zoom", "calendar"));
  EXPECT_TRUE(lessByNfcScalars("f", "e\u0301"));
  EXPECT_FALSE(lessByNfcScalars("e\u0301", "\u00E9"));
  // U+FFFF sorts before U+10000 by scalar, unlike UTF-16 code units.
  EXPECT_TRUE(lessByNfcScalars("\uFFFF", "\U00010000"));
}

TEST(UnicodeTextTest, LowercasedMapsEachScalarFully) {
  EXPECT_EQ(lowercased("@AZ[InTeRfAcE]"), "@az[interface]");
  EXPECT_EQ(lowercased("\u0130"), "i\u0307");  // dotted capital I
  EXPECT_EQ(lowercased("\u03A3\u0391\u03A3"),
            "\u03C3\u03B1\u03C3");       // no final sigma
  EXPECT_EQ(lowercased("\u212A"), "k");  // Kelvin sign
  EXPECT_EQ(lowercased("Stra\u00DFe"), "stra\u00DFe");
  EXPECT_EQ(lowercased("\U00010400"), "\U00010428");  // Deseret
  EXPECT_EQ(lowercased("A\x80"), "a\uFFFD");
}

}  // namespace
}  // namespace movaro::platform
