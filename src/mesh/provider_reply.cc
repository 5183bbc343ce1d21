#include "mesh/provider_reply.h"

#include <simdjson.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "bridge/standard_codec.h"

namespace movaro::platform {
namespace {

namespace dom = simdjson::dom;

// Whatever decodes must still travel through the channel's codec.
constexpr size_t kMaxDepth = StandardMessageCodec::kMaxDepth;
// Room for a reply once its integers beyond 64 bits are widened: each of
// them is at least 20 characters long and grows by two.
constexpr size_t kParseCapacity = kReplyLimitBytes + kReplyLimitBytes / 10;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
// Objects up to this many members are sorted by insertion.
constexpr size_t kInsertionSortMembers = 32;
// Member scratch space kept between replies; more is released.
constexpr size_t kKeptScratchMembers = 4096;

bool isAllowedReplyKey(std::string_view key) {
  switch (key.size()) {
    case 5:
      return key == "state" || key == "peers";
    case 8:
      return key == "selfName";
    case 9:
      return key == "errorCode";
    case 13:
      return key == "selfAddresses";
    case 15:
      return key == "identityCleared";
    case 16:
      return key == "sessionExpiresAt";
    default:
      return false;
  }
}

bool keepAll(std::string_view) {
  return true;
}

struct Member {
  std::string_view key;
  dom::element value;
};

// Byte-wise key order, the order of the map's string keys. Keys of one
// object mostly differ in their first byte, which is settled inline.
bool byKey(const Member& a, const Member& b) {
  if (!a.key.empty() && !b.key.empty() && a.key[0] != b.key[0]) {
    return static_cast<unsigned char>(a.key[0]) <
           static_cast<unsigned char>(b.key[0]);
  }
  return a.key < b.key;
}

// Sorts by key, keeping members with equal keys in document order. Objects
// are small, and often sorted already, so insertion sort does well.
void sortMembers(Member* begin, Member* end) {
  if (end - begin < 2) {
    return;  // Also keeps clear of arithmetic on an empty, null range.
  }
  if (end - begin > static_cast<std::ptrdiff_t>(kInsertionSortMembers)) {
    std::stable_sort(begin, end, byKey);
    return;
  }
  for (Member* i = begin + 1; i < end; ++i) {
    const Member moving = *i;
    Member* j = i;
    for (; j > begin && byKey(moving, *(j - 1)); --j) {
      *j = *(j - 1);
    }
    *j = moving;
  }
}

// Turns parsed elements into values. Every read matches the type just
// checked, so none can fail, and the unchecked accessors (which never
// throw) are safe. Recursion is bounded by the parser's depth limit.
class Converter {
 public:
  explicit Converter(std::vector<Member>& scratch) : scratch_(scratch) {}

  // The members of an object that `keep` admits, converted. They are
  // inserted in key order, each at the map's end, which spares the map its
  // searches. The members wait on a stack shared by all nesting levels;
  // each level takes the part above the previous one and leaves it as it
  // found it. Positions are indices: deeper levels may move the storage.
  ValueMap toMap(dom::object object, bool (*keep)(std::string_view)) {
    const size_t base = scratch_.size();
    for (dom::key_value_pair member : object) {
      if (keep(member.key)) {
        scratch_.push_back({member.key, member.value});
      }
    }
    sortMembers(scratch_.data() + base, scratch_.data() + scratch_.size());

    ValueMap map;
    const size_t end = scratch_.size();
    map.reserve(end - base);
    for (size_t i = base; i < end; ++i) {
      // Of equal keys, the first in the document comes first: it wins.
      if (i > base && scratch_[i].key == scratch_[i - 1].key) {
        continue;
      }
      const Member member = scratch_[i];
      map.emplace_hint(map.end(), std::string(member.key),
                       toValue(member.value));
    }
    scratch_.resize(base);
    return map;
  }

  Value toValue(dom::element element) {
    switch (element.type()) {
      case dom::element_type::OBJECT:
        return Value(toMap(element.get_object().value_unsafe(), keepAll));
      case dom::element_type::ARRAY: {
        const dom::array array = element.get_array().value_unsafe();
        ValueList list;
        list.reserve(array.size());
        for (dom::element item : array) {
          list.push_back(toValue(item));
        }
        return Value(std::move(list));
      }
      case dom::element_type::STRING:
        return Value(std::string(element.get_string().value_unsafe()));
      case dom::element_type::INT64: {
        const int64_t number = element.get_int64().value_unsafe();
        if (number >= std::numeric_limits<int32_t>::min() &&
            number <= std::numeric_limits<int32_t>::max()) {
          return Value(static_cast<int32_t>(number));
        }
        return Value(number);
      }
      case dom::element_type::UINT64:
        // Only integers above INT64_MAX arrive here.
        return Value(static_cast<double>(element.get_uint64().value_unsafe()));
      case dom::element_type::DOUBLE:
        return Value(element.get_double().value_unsafe());
      case dom::element_type::BOOL:
        return Value(element.get_bool().value_unsafe());
      case dom::element_type::NULL_VALUE:
        return Value();
    }
    return Value();
  }

 private:
  std::vector<Member>& scratch_;
};

// Whether an integer literal (an optional minus sign, then digits) lies
// beyond both int64_t and uint64_t.
bool beyondSixtyFourBits(std::string_view literal) {
  const bool negative = literal.substr(0, 1) == "-";
  const std::string_view digits = literal.substr(negative ? 1 : 0);
  const std::string_view largest =
      negative ? "9223372036854775808" : "18446744073709551615";
  return digits.size() > largest.size() ||
         (digits.size() == largest.size() && digits > largest);
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// The parser refuses integers beyond 64 bits, which the platform's parser
// reads as the nearest double. Copies the text to `out` with ".0" after each
// of them, so that the parser reads them as doubles too; false when there is
// none. Strings are copied as they are.
bool widenBigIntegers(std::string_view text, std::string& out) {
  out.clear();
  bool widened = false;
  for (size_t at = 0; at < text.size();) {
    size_t end = at + 1;
    if (text[at] == '"') {
      while (end < text.size() && text[end] != '"') {
        end += text[end] == '\\' ? 2 : 1;
      }
      end = std::min(end + 1, text.size());
    } else if (text[at] == '-' || isDigit(text[at])) {
      while (end < text.size() && isDigit(text[end])) {
        ++end;
      }
      const std::string_view integer = text.substr(at, end - at);
      const size_t fraction = end;
      while (end < text.size() &&
             (isDigit(text[end]) || std::string_view(".eE+-").find(text[end]) !=
                                        std::string_view::npos)) {
        ++end;
      }
      if (end == fraction && beyondSixtyFourBits(integer)) {
        out.append(integer).append(".0");
        widened = true;
        at = end;
        continue;
      }
    }
    out.append(text.substr(at, end - at));
    at = end;
  }
  return widened;
}

void appendEscaped(std::string& out, std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  for (char c : text) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '/':
        out += "\\/";
        break;
      case '\b':
        out += "\\b";
        break;
      case '\f':
        out += "\\f";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          out += "\\u00";
          out += kHex[static_cast<unsigned char>(c) >> 4];
          out += kHex[static_cast<unsigned char>(c) & 0xf];
        } else {
          out += c;
        }
    }
  }
}

}  // namespace

std::string encodeCommand(std::string_view command) {
  std::string out = "{\"command\":\"";
  appendEscaped(out, command);
  out += "\"}";
  return out;
}

struct ProviderReplyDecoder::State {
  dom::parser parser;
  // The text to parse is copied here, followed by the padding that the
  // parser may read past the end of its input.
  std::unique_ptr<char[]> buffer;
  std::vector<Member> scratch;
  std::string widened;

  // Parses `text` (at most kParseCapacity bytes) into `root`.
  simdjson::error_code parse(std::string_view text, dom::element& root) {
    // The parser never takes the padding as input; zeroing it keeps an
    // earlier, longer reply out of its sight all the same.
    char* data = buffer.get();
    if (!text.empty()) {
      std::memcpy(data, text.data(), text.size());
    }
    std::memset(data + text.size(), 0, simdjson::SIMDJSON_PADDING);
    return parser.parse(data, text.size(), false).get(root);
  }
};

ProviderReplyDecoder::ProviderReplyDecoder() = default;
ProviderReplyDecoder::~ProviderReplyDecoder() = default;
ProviderReplyDecoder::ProviderReplyDecoder(ProviderReplyDecoder&&) noexcept =
    default;
ProviderReplyDecoder& ProviderReplyDecoder::operator=(
    ProviderReplyDecoder&&) noexcept = default;

std::optional<ValueMap> ProviderReplyDecoder::decode(
    std::optional<std::string_view> reply) {
  if (!reply || reply->size() > kReplyLimitBytes) {
    return std::nullopt;
  }
  std::string_view text = *reply;
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    text.remove_prefix(kByteOrderMark.size());
  }

  if (!state_) {
    auto state = std::make_unique<State>();
    if (state->parser.allocate(kParseCapacity, kMaxDepth) !=
        simdjson::SUCCESS) {
      return std::nullopt;
    }
    state->buffer =
        std::make_unique<char[]>(kParseCapacity + simdjson::SIMDJSON_PADDING);
    state_ = std::move(state);
  }
  dom::element root;
  simdjson::error_code error = state_->parse(text, root);
  if (error == simdjson::NUMBER_ERROR &&
      widenBigIntegers(text, state_->widened) &&
      state_->widened.size() <= kParseCapacity) {
    error = state_->parse(state_->widened, root);
  }
  dom::object object;
  if (error != simdjson::SUCCESS || root.get(object) != simdjson::SUCCESS) {
    return std::nullopt;
  }

  ValueMap kept = Converter(state_->scratch).toMap(object, isAllowedReplyKey);
  if (state_->scratch.capacity() > kKeptScratchMembers) {
    std::vector<Member>().swap(state_->scratch);
  }
  return kept;
}

}  // namespace movaro::platform
