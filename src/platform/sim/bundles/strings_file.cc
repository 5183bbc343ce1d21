#include "platform/sim/bundles/strings_file.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace movaro::platform {
namespace {

constexpr int kMaxDepth = 64;
constexpr char32_t kReplacement = 0xfffd;

void appendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xc0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3f));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xe0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3f));
    out += static_cast<char>(0x80 | (c & 0x3f));
  } else {
    out += static_cast<char>(0xf0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3f));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3f));
    out += static_cast<char>(0x80 | (c & 0x3f));
  }
}

bool isSurrogate(char32_t c) {
  return c >= 0xd800 && c <= 0xdfff;
}

// Well-formed UTF-8 (RFC 3629): no overlong forms, surrogates or code
// points above U+10FFFF.
bool isValidUtf8(std::string_view text) {
  size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<unsigned char>(text[i]);
    int extra = 0;
    char32_t c = 0;
    if (lead < 0x80) {
      ++i;
      continue;
    } else if (lead >= 0xc2 && lead <= 0xdf) {
      extra = 1;
      c = lead & 0x1f;
    } else if (lead >= 0xe0 && lead <= 0xef) {
      extra = 2;
      c = lead & 0x0f;
    } else if (lead >= 0xf0 && lead <= 0xf4) {
      extra = 3;
      c = lead & 0x07;
    } else {
      return false;
    }
    if (text.size() - i <= static_cast<size_t>(extra)) {
      return false;
    }
    for (int k = 1; k <= extra; ++k) {
      const auto next = static_cast<unsigned char>(text[i + k]);
      if ((next & 0xc0) != 0x80) {
        return false;
      }
      c = (c << 6) | (next & 0x3f);
    }
    const char32_t minimum = extra == 2 ? 0x800 : extra == 3 ? 0x10000 : 0x80;
    if (c < minimum || c > 0x10ffff || isSurrogate(c)) {
      return false;
    }
    i += static_cast<size_t>(extra) + 1;
  }
  return true;
}

std::optional<std::string> decodeUtf16(std::string_view bytes, bool bigEndian) {
  if (bytes.size() % 2 != 0) {
    return std::nullopt;
  }
  auto unitAt = [&](size_t i) {
    const auto a = static_cast<unsigned char>(bytes[i]);
    const auto b = static_cast<unsigned char>(bytes[i + 1]);
    return static_cast<char32_t>(bigEndian ? (a << 8) | b : (b << 8) | a);
  };
  std::string out;
  out.reserve(bytes.size());
  for (size_t i = 0; i < bytes.size(); i += 2) {
    char32_t c = unitAt(i);
    if (c >= 0xd800 && c <= 0xdbff && i + 3 < bytes.size()) {
      const char32_t low = unitAt(i + 2);
      if (low >= 0xdc00 && low <= 0xdfff) {
        c = 0x10000 + ((c - 0xd800) << 10) + (low - 0xdc00);
        i += 2;
      }
    }
    if (isSurrogate(c)) {
      return std::nullopt;
    }
    appendUtf8(out, c);
  }
  return out;
}

bool isUnquotedCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         (c >= '0' && c <= '9') || c == '_' || c == '$' || c == '/' ||
         c == ':' || c == '.' || c == '-';
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  if (c >= 'a' && c <= 'f') {
    return c - 'a' + 10;
  }
  if (c >= 'A' && c <= 'F') {
    return c - 'A' + 10;
  }
  return -1;
}

// Builds a string from bytes and UTF-16 units, joining surrogate pairs.
class StringBuilder {
 public:
  void addByte(char c) {
    flushHigh();
    text_ += c;
  }
  void addUnit(char32_t unit) {
    if (unit >= 0xdc00 && unit <= 0xdfff && high_ != 0) {
      appendUtf8(text_, 0x10000 + ((high_ - 0xd800) << 10) + (unit - 0xdc00));
      high_ = 0;
      return;
    }
    flushHigh();
    if (unit >= 0xd800 && unit <= 0xdbff) {
      high_ = unit;
    } else {
      appendUtf8(text_, isSurrogate(unit) ? kReplacement : unit);
    }
  }
  std::string take() {
    flushHigh();
    return std::move(text_);
  }

 private:
  void flushHigh() {
    if (high_ != 0) {
      appendUtf8(text_, kReplacement);
      high_ = 0;
    }
  }
  std::string text_;
  char32_t high_ = 0;
};

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  std::optional<ValueMap> parseTopLevel() {
    if (!skipSpace()) {
      return std::nullopt;
    }
    std::optional<ValueMap> result;
    if (atEnd()) {
      result = ValueMap();
    } else if (peek() == '{') {
      ++pos_;
      result = parseDictionary(1, /*stringsFile=*/false);
      if (result && (!skipSpace() || !atEnd())) {
        result.reset();
      }
    } else {
      result = parseDictionary(0, /*stringsFile=*/true);
    }
    return result;
  }

 private:
  bool atEnd() const { return pos_ >= text_.size(); }
  char peek() const { return text_[pos_]; }

  // Skips whitespace and comments; false on an unterminated comment.
  bool skipSpace() {
    while (!atEnd()) {
      const char c = peek();
      if (c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' ||
          c == '\f') {
        ++pos_;
      } else if (c == '/' && pos_ + 1 < text_.size() &&
                 text_[pos_ + 1] == '*') {
        const size_t end = text_.find("*/", pos_ + 2);
        if (end == std::string_view::npos) {
          return false;
        }
        pos_ = end + 2;
      } else if (c == '/' && pos_ + 1 < text_.size() &&
                 text_[pos_ + 1] == '/') {
        const size_t end = text_.find_first_of("\r\n", pos_ + 2);
        pos_ = end == std::string_view::npos ? text_.size() : end;
      } else {
        return true;
      }
    }
    return true;
  }

  // Skips space and takes `c`; false when something else comes.
  bool expect(char c) {
    if (!skipSpace() || atEnd() || peek() != c) {
      return false;
    }
    ++pos_;
    return true;
  }

  std::optional<std::string> parseString() {
    if (atEnd()) {
      return std::nullopt;
    }
    const char c = peek();
    if (c == '"' || c == '\'') {
      ++pos_;
      return parseQuoted(c);
    }
    const size_t start = pos_;
    while (!atEnd() && isUnquotedCharacter(peek())) {
      ++pos_;
    }
    if (pos_ == start) {
      return std::nullopt;
    }
    return std::string(text_.substr(start, pos_ - start));
  }

  std::optional<std::string> parseQuoted(char quote) {
    StringBuilder out;
    while (!atEnd()) {
      const char c = text_[pos_++];
      if (c == quote) {
        return out.take();
      }
      if (c != '\\') {
        out.addByte(c);
      } else if (!parseEscape(out)) {
        return std::nullopt;
      }
    }
    return std::nullopt;
  }

  bool parseEscape(StringBuilder& out) {
    if (atEnd()) {
      return false;
    }
    const char c = text_[pos_++];
    if (c >= '0' && c <= '7') {
      unsigned code = static_cast<unsigned>(c - '0');
      for (int n = 1; n < 3 && !atEnd() && peek() >= '0' && peek() <= '7';
           ++n) {
        code = code * 8 + static_cast<unsigned>(text_[pos_++] - '0');
      }
      if (code >= 0x80) {
        return false;
      }
      out.addUnit(code);
      return true;
    }
    if (c == 'U') {
      char32_t unit = 0;
      int digits = 0;
      while (digits < 4 && !atEnd() && hexDigit(peek()) >= 0) {
        unit = unit * 16 + static_cast<char32_t>(hexDigit(text_[pos_++]));
        ++digits;
      }
      if (digits == 0) {
        return false;
      }
      out.addUnit(unit);
      return true;
    }
    static constexpr std::pair<char, char> kSimple[] = {
        {'a', '\a'}, {'b', '\b'}, {'f', '\f'}, {'n', '\n'},
        {'r', '\r'}, {'t', '\t'}, {'v', '\v'}};
    for (const auto& [name, meaning] : kSimple) {
      if (c == name) {
        out.addByte(meaning);
        return true;
      }
    }
    out.addByte(c);
    return true;
  }

  std::optional<Value> parseValue(int depth) {
    if (depth > kMaxDepth || !skipSpace() || atEnd()) {
      return std::nullopt;
    }
    const char c = peek();
    if (c == '{') {
      ++pos_;
      auto map = parseDictionary(depth, /*stringsFile=*/false);
      return map ? std::optional<Value>(std::move(*map)) : std::nullopt;
    }
    if (c == '(') {
      ++pos_;
      auto list = parseArray(depth);
      return list ? std::optional<Value>(std::move(*list)) : std::nullopt;
    }
    if (c == '<') {
      ++pos_;
      auto data = parseData();
      return data ? std::optional<Value>(std::move(*data)) : std::nullopt;
    }
    auto text = parseString();
    return text ? std::optional<Value>(std::move(*text)) : std::nullopt;
  }

  // After "(": values separated by commas, up to ")".
  std::optional<ValueList> parseArray(int depth) {
    ValueList list;
    while (true) {
      if (!skipSpace() || atEnd()) {
        return std::nullopt;
      }
      if (peek() == ')') {
        ++pos_;
        return list;
      }
      auto value = parseValue(depth + 1);
      if (!value || !skipSpace() || atEnd()) {
        return std::nullopt;
      }
      list.push_back(std::move(*value));
      if (peek() == ',') {
        ++pos_;
      } else if (peek() != ')') {
        return std::nullopt;
      }
    }
  }

  // After "{" (or at the start of a strings file): entries up to "}" (or
  // the end of the text).
  std::optional<ValueMap> parseDictionary(int depth, bool stringsFile) {
    ValueMap::Entries entries;
    while (true) {
      if (!skipSpace()) {
        return std::nullopt;
      }
      if (atEnd()) {
        return stringsFile ? std::optional<ValueMap>(
                                 ValueMap::fromEntries(std::move(entries)))
                           : std::nullopt;
      }
      if (!stringsFile && peek() == '}') {
        ++pos_;
        return ValueMap::fromEntries(std::move(entries));
      }
      auto key = parseString();
      if (!key || !skipSpace() || atEnd()) {
        return std::nullopt;
      }
      Value value;
      if (stringsFile && peek() == ';') {
        value = *key;
      } else {
        if (peek() != '=') {
          return std::nullopt;
        }
        ++pos_;
        auto parsed = parseValue(depth + 1);
        if (!parsed) {
          return std::nullopt;
        }
        value = std::move(*parsed);
      }
      if (!expect(';')) {
        return std::nullopt;
      }
      entries.emplace_back(Value(std::move(*key)), std::move(value));
    }
  }

  // After "<": hex digit pairs, whitespace allowed between, up to ">".
  std::optional<std::vector<uint8_t>> parseData() {
    std::vector<uint8_t> data;
    int high = -1;
    while (!atEnd()) {
      const char c = text_[pos_++];
      if (c == '>') {
        return high < 0 ? std::optional<std::vector<uint8_t>>(std::move(data))
                        : std::nullopt;
      }
      if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
        continue;
      }
      const int digit = hexDigit(c);
      if (digit < 0) {
        return std::nullopt;
      }
      if (high < 0) {
        high = digit;
      } else {
        data.push_back(static_cast<uint8_t>(high * 16 + digit));
        high = -1;
      }
    }
    return std::nullopt;
  }

  std::string_view text_;
  size_t pos_ = 0;
};

}  // namespace

std::optional<std::string> decodePropertyListText(std::string_view bytes) {
  auto startsWith = [&](std::string_view mark) {
    return bytes.substr(0, mark.size()) == mark;
  };
  if (startsWith("\xef\xbb\xbf")) {
    bytes.remove_prefix(3);
  } else if (startsWith("\xff\xfe")) {
    return decodeUtf16(bytes.substr(2), /*bigEndian=*/false);
  } else if (startsWith("\xfe\xff")) {
    return decodeUtf16(bytes.substr(2), /*bigEndian=*/true);
  } else if (bytes.size() >= 2 && (bytes[0] == '\0') != (bytes[1] == '\0')) {
    return decodeUtf16(bytes, /*bigEndian=*/bytes[0] == '\0');
  }
  if (!isValidUtf8(bytes)) {
    return std::nullopt;
  }
  return std::string(bytes);
}

std::optional<ValueMap> parseOldStyleDictionary(std::string_view text) {
  return Parser(text).parseTopLevel();
}

}  // namespace movaro::platform
