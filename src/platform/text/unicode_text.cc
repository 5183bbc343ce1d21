#include "platform/text/unicode_text.h"

#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <memory>

namespace movaro::platform {
namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;

// ICU works on pieces of at most INT32_MAX units, so long text is handed to
// it in pieces of about kPieceBytes, cut where the operation cannot look
// across the cut; a piece that finds no such place is cut at kMaxPieceBytes.
constexpr size_t kPieceBytes = size_t{1} << 16;
constexpr size_t kMaxPieceBytes = size_t{1} << 30;

bool isContinuationByte(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

bool isAscii(std::string_view text) {
  for (char byte : text) {
    if (static_cast<unsigned char>(byte) >= 0x80) {
      return false;
    }
  }
  return true;
}

// The scalar that ends right before `end` (> 0), read as decodeUtf8 reads it
// forwards; `start` receives its first byte.
char32_t decodeUtf8Before(std::string_view text, size_t end, size_t& start) {
  std::string_view head = text.substr(0, end);
  size_t lead = end - 1;
  const size_t lowest = end >= 4 ? end - 4 : 0;
  while (lead > lowest && isContinuationByte(head[lead])) {
    --lead;
  }
  DecodedScalar decoded = decodeUtf8(head, lead);
  if (lead + decoded.length == end) {
    start = lead;
    return decoded.scalar;
  }
  start = end - 1;
  return kReplacementCharacter;
}

template <typename Predicate>
std::string trimScalars(std::string_view text, Predicate isTrimmed) {
  size_t begin = 0;
  while (begin < text.size()) {
    DecodedScalar decoded = decodeUtf8(text, begin);
    if (!isTrimmed(decoded.scalar)) {
      break;
    }
    begin += decoded.length;
  }
  size_t end = text.size();
  while (end > begin) {
    size_t start = 0;
    if (!isTrimmed(decodeUtf8Before(text, end, start))) {
      break;
    }
    end = start;
  }
  return std::string(text.substr(begin, end - begin));
}

// Length of the line separator at `position`, or 0.
size_t newlineLengthAt(std::string_view text, size_t position) {
  const auto byteAt = [text](size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
  };
  const unsigned char byte = byteAt(position);
  if (byte == '\r') {
    return byteAt(position + 1) == '\n' ? 2 : 1;
  }
  if (byte >= '\n' && byte <= '\f') {
    return 1;
  }
  if (byte == 0xC2 && byteAt(position + 1) == 0x85) {
    return 2;
  }
  if (byte == 0xE2 && byteAt(position + 1) == 0x80 &&
      (byteAt(position + 2) == 0xA8 || byteAt(position + 2) == 0xA9)) {
    return 3;
  }
  return 0;
}

int32_t graphemeBreakOf(char32_t scalar) {
  return u_getIntPropertyValue(static_cast<UChar32>(scalar),
                               UCHAR_GRAPHEME_CLUSTER_BREAK);
}

// Calls `visit` with consecutive pieces of the valid UTF-8 `text`, each cut
// before a scalar where `isCut(previous, next)` holds.
template <typename IsCut, typename Visit>
void forEachPiece(std::string_view text, IsCut isCut, Visit visit) {
  size_t start = 0;
  while (text.size() - start > kPieceBytes) {
    size_t cut = start + kPieceBytes;
    while (isContinuationByte(text[cut])) {
      ++cut;
    }
    while (cut < text.size() && cut - start < kMaxPieceBytes) {
      size_t previousStart = 0;
      const char32_t previous = decodeUtf8Before(text, cut, previousStart);
      const DecodedScalar next = decodeUtf8(text, cut);
      if (isCut(previous, next.scalar)) {
        break;
      }
      cut += next.length;
    }
    visit(text.substr(start, cut - start));
    start = cut;
  }
  visit(text.substr(start));
}

// A grapheme cluster boundary whatever surrounds the pair: before a control
// character (except LF after CR), or between two scalars that no rule joins.
bool isCertainGraphemeBoundary(char32_t previous, char32_t next) {
  const int32_t nextBreak = graphemeBreakOf(next);
  if (nextBreak == U_GCB_CONTROL || nextBreak == U_GCB_CR) {
    return true;
  }
  if (nextBreak == U_GCB_LF) {
    return previous != '\r';
  }
  return nextBreak == U_GCB_OTHER && graphemeBreakOf(previous) == U_GCB_OTHER;
}

void appendLowercaseMapping(std::string& out, char32_t scalar) {
  UChar source[2];
  int32_t sourceLength = 0;
  U16_APPEND_UNSAFE(source, sourceLength, static_cast<UChar32>(scalar));
  UChar mapped[8];
  UErrorCode status = U_ZERO_ERROR;
  const int32_t mappedLength =
      u_strToLower(mapped, 8, source, sourceLength, "", &status);
  if (U_FAILURE(status) || mappedLength > 8) {
    appendUtf8(out, scalar);
    return;
  }
  for (int32_t i = 0; i < mappedLength;) {
    UChar32 c = 0;
    U16_NEXT(mapped, i, mappedLength, c);
    appendUtf8(out, static_cast<char32_t>(c));
  }
}

}  // namespace

DecodedScalar decodeUtf8(std::string_view text, size_t position) {
  // A scalar is at most four bytes, so a short window keeps ICU's 32-bit
  // indexes safe. ICU reads each maximal ill-formed subpart as one U+FFFD.
  const int32_t window =
      static_cast<int32_t>(std::min<size_t>(4, text.size() - position));
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data() + position);
  int32_t length = 0;
  UChar32 scalar = 0;
  U8_NEXT_OR_FFFD(bytes, length, window, scalar);
  return {static_cast<char32_t>(scalar), static_cast<size_t>(length)};
}

void appendUtf8(std::string& out, char32_t scalar) {
  if (scalar > 0x10FFFF || (scalar >= 0xD800 && scalar <= 0xDFFF)) {
    scalar = kReplacementCharacter;
  }
  uint8_t bytes[U8_MAX_LENGTH];
  int32_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, static_cast<UChar32>(scalar));
  out.append(reinterpret_cast<const char*>(bytes), static_cast<size_t>(length));
}

bool isValidUtf8(std::string_view text) {
  for (size_t i = 0; i < text.size();) {
    const DecodedScalar decoded = decodeUtf8(text, i);
    // U+FFFD itself is fine; anything else read as U+FFFD is ill-formed.
    if (decoded.scalar == kReplacementCharacter &&
        text.substr(i, 3) != "\xEF\xBF\xBD") {
      return false;
    }
    i += decoded.length;
  }
  return true;
}

std::string toValidUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    const DecodedScalar decoded = decodeUtf8(text, i);
    appendUtf8(out, decoded.scalar);
    i += decoded.length;
  }
  return out;
}

bool isWhitespaceOrNewline(char32_t scalar) {
  if ((scalar >= '\t' && scalar <= '\r') || scalar == 0x85) {
    return true;
  }
  const int8_t category = u_charType(static_cast<UChar32>(scalar));
  return category == U_SPACE_SEPARATOR || category == U_LINE_SEPARATOR ||
         category == U_PARAGRAPH_SEPARATOR;
}

bool isWhitespace(char32_t scalar) {
  return scalar == '\t' ||
         u_charType(static_cast<UChar32>(scalar)) == U_SPACE_SEPARATOR;
}

bool isNewline(char32_t scalar) {
  return (scalar >= '\n' && scalar <= '\r') || scalar == 0x85 ||
         scalar == 0x2028 || scalar == 0x2029;
}

std::string trimWhitespaceAndNewlines(std::string_view text) {
  return trimScalars(text, isWhitespaceOrNewline);
}

std::string trimSpacesAndTabs(std::string_view text) {
  return trimScalars(text, isWhitespace);
}

std::vector<std::string> splitLines(std::string_view text, bool keepEmpty) {
  // Every separator starts with a byte that never occurs inside a multi-byte
  // scalar, so a byte scan finds exactly the separating scalars.
  std::vector<std::string> lines;
  size_t start = 0;
  const auto take = [&](size_t end) {
    if (keepEmpty || end > start) {
      lines.emplace_back(text.substr(start, end - start));
    }
  };
  for (size_t i = 0; i < text.size();) {
    const size_t separator = newlineLengthAt(text, i);
    if (separator == 0) {
      ++i;
      continue;
    }
    take(i);
    i += separator;
    start = i;
  }
  take(text.size());
  return lines;
}

bool isStandaloneCharacter(std::string_view text, size_t position) {
  // Only three rules join an ASCII character (other than CR and LF) to a
  // neighbour: a following extender, ZWJ or spacing mark, and a preceding
  // prepended concatenation mark.
  if (position + 1 < text.size()) {
    const int32_t next = graphemeBreakOf(decodeUtf8(text, position + 1).scalar);
    if (next == U_GCB_EXTEND || next == U_GCB_ZWJ ||
        next == U_GCB_SPACING_MARK) {
      return false;
    }
  }
  if (position > 0) {
    size_t start = 0;
    if (graphemeBreakOf(decodeUtf8Before(text, position, start)) ==
        U_GCB_PREPEND) {
      return false;
    }
  }
  return true;
}

size_t findCharacter(std::string_view text, char character, size_t from) {
  for (size_t i = text.find(character, from); i != std::string_view::npos;
       i = text.find(character, i + 1)) {
    if (isStandaloneCharacter(text, i)) {
      return i;
    }
  }
  return std::string_view::npos;
}

size_t findLastCharacter(std::string_view text, char character) {
  for (size_t i = text.rfind(character); i != std::string_view::npos;
       i = i == 0 ? std::string_view::npos : text.rfind(character, i - 1)) {
    if (isStandaloneCharacter(text, i)) {
      return i;
    }
  }
  return std::string_view::npos;
}

size_t graphemeCount(std::string_view text) {
  std::string repaired;
  if (!isValidUtf8(text)) {
    repaired = toValidUtf8(text);
    text = repaired;
  }
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::BreakIterator> breaks(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(),
                                                  status));
  size_t count = 0;
  if (U_FAILURE(status) || !breaks) {
    for (size_t i = 0; i < text.size(); i += decodeUtf8(text, i).length) {
      ++count;
    }
    return count;
  }
  forEachPiece(text, isCertainGraphemeBoundary, [&](std::string_view piece) {
    UText utext = UTEXT_INITIALIZER;
    UErrorCode pieceStatus = U_ZERO_ERROR;
    utext_openUTF8(&utext, piece.data(), static_cast<int64_t>(piece.size()),
                   &pieceStatus);
    breaks->setText(&utext, pieceStatus);
    if (U_SUCCESS(pieceStatus)) {
      for (int32_t at = breaks->next(); at != icu::BreakIterator::DONE;
           at = breaks->next()) {
        ++count;
      }
    }
    utext_close(&utext);
  });
  return count;
}

std::string toNfc(std::string_view text) {
  if (isAscii(text)) {
    return std::string(text);
  }
  std::string repaired;
  if (!isValidUtf8(text)) {
    repaired = toValidUtf8(text);
    text = repaired;
  }
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
  if (U_FAILURE(status) || nfc == nullptr) {
    return std::string(text);
  }
  std::string composed;
  composed.reserve(text.size());
  icu::StringByteSink<std::string> sink(&composed);
  const auto isCut = [nfc](char32_t, char32_t next) {
    return nfc->hasBoundaryBefore(static_cast<UChar32>(next)) != 0;
  };
  forEachPiece(text, isCut, [&](std::string_view piece) {
    nfc->normalizeUTF8(
        0, icu::StringPiece(piece.data(), static_cast<int32_t>(piece.size())),
        sink, nullptr, status);
  });
  return U_SUCCESS(status) ? composed : std::string(text);
}

bool canonicallyEqual(std::string_view a, std::string_view b) {
  return a == b || toNfc(a) == toNfc(b);
}

bool lessByNfcScalars(std::string_view a, std::string_view b) {
  // UTF-8 compared byte by byte (std::string compares as unsigned char)
  // orders exactly as the scalar values do.
  return toNfc(a) < toNfc(b);
}

std::string lowercased(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    const char byte = text[i];
    if (static_cast<unsigned char>(byte) < 0x80) {
      out += byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte;
      ++i;
      continue;
    }
    const DecodedScalar decoded = decodeUtf8(text, i);
    appendLowercaseMapping(out, decoded.scalar);
    i += decoded.length;
  }
  return out;
}

}  // namespace movaro::platform
