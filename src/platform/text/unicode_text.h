// Unicode text helpers with the results of the Swift and Foundation calls the
// macOS code makes: trimming, line splitting, character counting, canonical
// normalisation, ordering and lowercasing.
//
// Text is UTF-8. Ill-formed input never fails: each maximal ill-formed
// subsequence reads as one U+FFFD, as Swift's String(decoding:as:) and ICU
// read it. It is never white space or a newline. Functions that return pieces
// of their input (trimming, splitting) leave such bytes as they are; functions
// that build new text (toNfc, lowercased, toValidUtf8) write U+FFFD instead.
#ifndef MOVARO_PLATFORM_TEXT_UNICODE_TEXT_H_
#define MOVARO_PLATFORM_TEXT_UNICODE_TEXT_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace movaro::platform {

// One scalar read from UTF-8: U+FFFD with the length of the ill-formed
// subsequence when the bytes at that position are not a valid scalar.
struct DecodedScalar {
  char32_t scalar;
  size_t length;
};

// Reads the scalar that starts at `position` (which must be < text.size()).
DecodedScalar decodeUtf8(std::string_view text, size_t position);
void appendUtf8(std::string& out, char32_t scalar);
bool isValidUtf8(std::string_view text);
// The text with every ill-formed subsequence replaced by U+FFFD.
std::string toValidUtf8(std::string_view text);

// Foundation's CharacterSet.whitespacesAndNewlines: tab, U+000A to U+000D,
// U+0085 and general categories Zs, Zl and Zp (space, no-break space, the
// other Unicode spaces, U+2028, U+2029). U+FEFF and U+200B are not in it.
bool isWhitespaceOrNewline(char32_t scalar);
// Foundation's CharacterSet.whitespaces: tab and general category Zs.
bool isWhitespace(char32_t scalar);
// Swift's Character.isNewline for a single scalar: U+000A to U+000D, U+0085,
// U+2028 and U+2029.
bool isNewline(char32_t scalar);

// Both ends trimmed of isWhitespaceOrNewline scalars.
std::string trimWhitespaceAndNewlines(std::string_view text);
// Both ends trimmed of isWhitespace scalars (newlines stay).
std::string trimSpacesAndTabs(std::string_view text);

// The text split at every newline character, as Swift's
// split(whereSeparator: \.isNewline): CR LF is one separator. Empty pieces are
// dropped unless `keepEmpty`, in which case n separators give n + 1 pieces.
std::vector<std::string> splitLines(std::string_view text,
                                    bool keepEmpty = false);

// Whether the ASCII character at `position` is a user-perceived character on
// its own, the way Swift compares Characters: a '#' followed by a combining
// mark, or preceded by a prepended concatenation mark, is not a '#'.
bool isStandaloneCharacter(std::string_view text, size_t position);
// The first standalone `character` (printable ASCII) at or after `from`, or
// std::string_view::npos; Swift's firstIndex(of:).
size_t findCharacter(std::string_view text, char character, size_t from = 0);
// The last standalone `character`, or npos; Swift's lastIndex(of:).
size_t findLastCharacter(std::string_view text, char character);

// The number of user-perceived characters (extended grapheme clusters).
size_t graphemeCount(std::string_view text);

// Canonical composition (NFC).
std::string toNfc(std::string_view text);
// Swift's == on strings: equal after canonical normalisation.
bool canonicallyEqual(std::string_view a, std::string_view b);
// Swift's < on strings: the NFC forms compared by Unicode scalar values, with
// no locale and no case folding ("Zoom" < "calendar" < "Éclair").
bool lessByNfcScalars(std::string_view a, std::string_view b);

// Swift's String.lowercased(): each scalar replaced by its full lowercase
// mapping ("İ" becomes "i̇"), with no locale and no context, so a capital
// sigma always becomes σ.
std::string lowercased(std::string_view text);

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_TEXT_UNICODE_TEXT_H_
