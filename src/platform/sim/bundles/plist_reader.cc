#include "platform/sim/bundles/plist_reader.h"

#include <fcntl.h>
#include <plist/plist.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <utility>
#include <vector>

#include "platform/sim/bundles/strings_file.h"

namespace movaro::platform {
namespace {

// Seconds from 1970-01-01 to 2001-01-01, the epoch of property-list dates.
constexpr double kReferenceDateOffset = 978307200.0;

uint64_t readBigEndian(std::string_view bytes, size_t at, size_t width) {
  uint64_t value = 0;
  for (size_t i = 0; i < width; ++i) {
    value = (value << 8) | static_cast<unsigned char>(bytes[at + i]);
  }
  return value;
}

// The shape of a binary list, read from its trailer.
struct BinaryLayout {
  std::string_view bytes;
  size_t offsetSize = 0;
  size_t refSize = 0;
  uint64_t objectCount = 0;
  uint64_t top = 0;
  uint64_t tableOffset = 0;

  // Where object `index` starts, or 0 when out of range.
  size_t objectStart(uint64_t index) const {
    const uint64_t at = readBigEndian(
        bytes, static_cast<size_t>(tableOffset + index * offsetSize),
        offsetSize);
    return at >= 8 && at < tableOffset ? static_cast<size_t>(at) : 0;
  }
};

// Reads the trailer into `layout`; false when its sizes and offsets do not
// fit the file.
bool readTrailer(BinaryLayout& layout) {
  constexpr size_t kHeader = 8;
  constexpr size_t kTrailer = 32;
  const std::string_view bytes = layout.bytes;
  if (bytes.size() < kHeader + kTrailer + 1) {
    return false;
  }
  const size_t trailer = bytes.size() - kTrailer;
  layout.offsetSize = static_cast<unsigned char>(bytes[trailer + 6]);
  layout.refSize = static_cast<unsigned char>(bytes[trailer + 7]);
  layout.objectCount = readBigEndian(bytes, trailer + 8, 8);
  layout.top = readBigEndian(bytes, trailer + 16, 8);
  layout.tableOffset = readBigEndian(bytes, trailer + 24, 8);
  return layout.offsetSize >= 1 && layout.offsetSize <= 8 &&
         layout.refSize >= 1 && layout.refSize <= 8 &&
         layout.objectCount != 0 && layout.top < layout.objectCount &&
         layout.tableOffset >= kHeader + 1 && layout.tableOffset <= trailer &&
         layout.objectCount <=
             (trailer - layout.tableOffset) / layout.offsetSize;
}

// The length field of the object at `start` (its low four bits, or the
// integer after it) and where its contents begin. False when malformed.
bool objectLength(const BinaryLayout& layout,
                  size_t start,
                  size_t& contentsAt,
                  uint64_t& length) {
  length = static_cast<unsigned char>(layout.bytes[start]) & 0x0f;
  contentsAt = start + 1;
  if (length != 0x0f) {
    return true;
  }
  if (contentsAt >= layout.tableOffset) {
    return false;
  }
  const auto sizeMarker = static_cast<unsigned char>(layout.bytes[contentsAt]);
  if ((sizeMarker >> 4) != 0x1 || (sizeMarker & 0x0f) > 3) {
    return false;
  }
  const size_t width = size_t{1} << (sizeMarker & 0x0f);
  if (contentsAt + 1 + width > layout.tableOffset) {
    return false;
  }
  length = readBigEndian(layout.bytes, contentsAt + 1, width);
  contentsAt += 1 + width;
  return true;
}

// A container's references: where they start, how many there are and how
// many of them, at the front, are dictionary keys. False when the object is
// malformed; `count` stays 0 for a leaf.
bool containerRefs(const BinaryLayout& layout,
                   size_t start,
                   size_t& refsAt,
                   uint64_t& count,
                   uint64_t& keys) {
  const unsigned kind = static_cast<unsigned char>(layout.bytes[start]) >> 4;
  count = keys = 0;
  if (kind != 0xa && kind != 0xc && kind != 0xd) {
    return true;
  }
  size_t at = 0;
  uint64_t items = 0;
  if (!objectLength(layout, start, at, items)) {
    return false;
  }
  const uint64_t refs = kind == 0xd ? items * 2 : items;
  if (items > layout.tableOffset ||
      refs > (layout.tableOffset - at) / layout.refSize) {
    return false;
  }
  refsAt = at;
  count = refs;
  keys = kind == 0xd ? items : 0;
  return true;
}

// Whether object `index` is a string without NUL characters, as dictionary
// keys must be: libplist cuts an ASCII key short at a NUL, and stops the
// process when it reads back a UTF-16 key that holds one.
bool isCleanKey(const BinaryLayout& layout, uint64_t index) {
  const size_t start = layout.objectStart(index);
  const unsigned kind =
      start == 0 ? 0 : static_cast<unsigned char>(layout.bytes[start]) >> 4;
  size_t at = 0;
  uint64_t length = 0;
  if ((kind != 0x5 && kind != 0x6) ||
      !objectLength(layout, start, at, length)) {
    return false;
  }
  const size_t width = kind == 0x6 ? 2 : 1;
  if (length > (layout.tableOffset - at) / width) {
    return false;
  }
  const std::string_view text = layout.bytes.substr(at, length * width);
  for (size_t i = 0; i < text.size(); i += width) {
    if (text[i] == '\0' && (width == 1 || text[i + 1] == '\0')) {
      return false;
    }
  }
  return true;
}

std::optional<Value> toValue(plist_t node, int depth) {
  if (node == nullptr || depth > kMaxPropertyListDepth) {
    return std::nullopt;
  }
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
      uint8_t flag = 0;
      plist_get_bool_val(node, &flag);
      return Value(flag != 0);
    }
    case PLIST_UINT: {
      uint64_t bits = 0;
      plist_get_uint_val(node, &bits);
      const auto number = static_cast<int64_t>(bits);
      if (number >= std::numeric_limits<int32_t>::min() &&
          number <= std::numeric_limits<int32_t>::max()) {
        return Value(static_cast<int32_t>(number));
      }
      return Value(number);
    }
    case PLIST_REAL: {
      double number = 0;
      plist_get_real_val(node, &number);
      return Value(number);
    }
    case PLIST_STRING: {
      uint64_t length = 0;
      const char* text = plist_get_string_ptr(node, &length);
      return Value(text ? std::string(text, length) : std::string());
    }
    case PLIST_DATE: {
      int32_t seconds = 0;
      int32_t micros = 0;
      plist_get_date_val(node, &seconds, &micros);
      return Value(kReferenceDateOffset + seconds + micros / 1e6);
    }
    case PLIST_DATA: {
      uint64_t length = 0;
      const char* data = plist_get_data_ptr(node, &length);
      const auto* bytes = reinterpret_cast<const uint8_t*>(data);
      return Value(data ? std::vector<uint8_t>(bytes, bytes + length)
                        : std::vector<uint8_t>());
    }
    case PLIST_ARRAY: {
      ValueList list;
      const uint32_t size = plist_array_get_size(node);
      list.reserve(size);
      for (uint32_t i = 0; i < size; ++i) {
        if (auto item = toValue(plist_array_get_item(node, i), depth + 1)) {
          list.push_back(std::move(*item));
        }
      }
      return Value(std::move(list));
    }
    case PLIST_DICT: {
      ValueMap::Entries entries;
      plist_dict_iter iter = nullptr;
      plist_dict_new_iter(node, &iter);
      while (iter != nullptr) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iter, &key, &item);
        if (key == nullptr || item == nullptr) {
          std::free(key);
          break;
        }
        if (auto value = toValue(item, depth + 1)) {
          entries.emplace_back(Value(std::string(key)), std::move(*value));
        }
        std::free(key);
      }
      std::free(iter);
      return Value(ValueMap::fromEntries(std::move(entries)));
    }
    default:
      return std::nullopt;
  }
}

bool looksLikeXml(std::string_view text) {
  const size_t start = text.find_first_not_of(" \t\r\n");
  if (start == std::string_view::npos || text[start] != '<') {
    return false;
  }
  text.remove_prefix(start);
  return text.substr(0, 2) == "<?" || text.substr(0, 2) == "<!" ||
         text.substr(0, 6) == "<plist";
}

}  // namespace

std::optional<std::string> readSmallFile(int directory,
                                         const std::string& path,
                                         bool* missing,
                                         size_t limit) {
  const int fd = ::openat(directory, path.c_str(),
                          O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (missing != nullptr) {
    *missing = fd < 0 && (errno == ENOENT || errno == ENOTDIR);
  }
  if (fd < 0) {
    return std::nullopt;
  }
  struct stat info {};
  std::optional<std::string> result;
  if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) &&
      static_cast<uint64_t>(info.st_size) <= limit) {
    // One byte more than expected, to notice a file that has grown. A
    // regular file reads short only at its end, which saves asking again.
    std::string bytes(static_cast<size_t>(info.st_size) + 1, '\0');
    size_t filled = 0;
    bool failed = false;
    while (true) {
      if (filled == bytes.size()) {
        if (filled > limit) {
          break;
        }
        bytes.resize(std::min(bytes.size() * 2, limit + 1));
      }
      const size_t wanted = bytes.size() - filled;
      const ssize_t got = ::read(fd, bytes.data() + filled, wanted);
      if (got < 0 && errno == EINTR) {
        continue;
      }
      failed = got < 0;
      if (got > 0) {
        filled += static_cast<size_t>(got);
      }
      if (got <= 0 || static_cast<size_t>(got) < wanted) {
        break;
      }
    }
    if (!failed && filled <= limit) {
      bytes.resize(filled);
      result = std::move(bytes);
    }
  }
  ::close(fd);
  return result;
}

bool binaryPropertyListIsSafe(std::string_view bytes) {
  BinaryLayout layout{bytes};
  if (!readTrailer(layout)) {
    return false;
  }
  // Depth-first over the object graph, each object once: its depth and
  // its size once expanded, saturating at the limits.
  struct Frame {
    uint64_t index;
    size_t refsAt;
    uint64_t refCount;
    uint64_t keys;
    uint64_t next;
    uint64_t expanded;
  };
  enum : uint8_t { kNew, kOpen, kDone };
  std::vector<uint8_t> state(layout.objectCount, kNew);
  std::vector<bool> checkedKey(layout.objectCount, false);
  std::vector<uint64_t> expanded(layout.objectCount, 0);
  std::vector<Frame> stack;
  auto openObject = [&](uint64_t index) {
    const size_t start = layout.objectStart(index);
    Frame frame{index, 0, 0, 0, 0, 1};
    if (start == 0 || !containerRefs(layout, start, frame.refsAt,
                                     frame.refCount, frame.keys)) {
      return false;
    }
    state[index] = kOpen;
    stack.push_back(frame);
    return stack.size() <= static_cast<size_t>(kMaxPropertyListDepth);
  };
  if (!openObject(layout.top)) {
    return false;
  }
  while (!stack.empty()) {
    Frame& frame = stack.back();
    if (frame.next == frame.refCount) {
      state[frame.index] = kDone;
      expanded[frame.index] = frame.expanded;
      const uint64_t size = frame.expanded;
      stack.pop_back();
      if (!stack.empty()) {
        stack.back().expanded += size;
        if (stack.back().expanded > kMaxExpandedObjects) {
          return false;
        }
      }
      continue;
    }
    const uint64_t child = readBigEndian(
        bytes, frame.refsAt + frame.next * layout.refSize, layout.refSize);
    const bool key = frame.next++ < frame.keys;
    if (child >= layout.objectCount || state[child] == kOpen) {
      return false;
    }
    if (key && !checkedKey[child]) {
      if (!isCleanKey(layout, child)) {
        return false;
      }
      checkedKey[child] = true;
    }
    if (state[child] == kDone) {
      frame.expanded += expanded[child];
      if (frame.expanded > kMaxExpandedObjects) {
        return false;
      }
    } else if (!openObject(child)) {
      return false;
    }
  }
  return true;
}

bool xmlNestingWithin(std::string_view text, int limit) {
  int depth = 0;
  size_t at = 0;
  auto skipPast = [&](std::string_view end) {
    const size_t found = text.find(end, at);
    at = found == std::string_view::npos ? text.size() : found + end.size();
  };
  while ((at = text.find('<', at)) != std::string_view::npos) {
    const std::string_view rest = text.substr(at);
    if (rest.substr(0, 4) == "<!--") {
      skipPast("-->");
      continue;
    }
    if (rest.substr(0, 9) == "<![CDATA[") {
      skipPast("]]>");
      continue;
    }
    const size_t close = rest.find('>');
    if (close == std::string_view::npos) {
      return true;
    }
    const bool closing = rest.substr(0, 2) == "</";
    const std::string_view name = rest.substr(closing ? 2 : 1);
    const bool container =
        name.substr(0, 5) == "array" || name.substr(0, 4) == "dict";
    if (container && closing) {
      --depth;
    } else if (container && rest[close - 1] != '/' && ++depth > limit) {
      return false;
    }
    at += close + 1;
  }
  return true;
}

void PropertyListDictionary::TreeDeleter::operator()(void* tree) const {
  plist_free(static_cast<plist_t>(tree));
}

PropertyListDictionary::PropertyListDictionary() = default;
PropertyListDictionary::~PropertyListDictionary() = default;
PropertyListDictionary::PropertyListDictionary(
    PropertyListDictionary&&) noexcept = default;
PropertyListDictionary& PropertyListDictionary::operator=(
    PropertyListDictionary&&) noexcept = default;

PropertyListDictionary PropertyListDictionary::parse(std::string_view bytes) {
  PropertyListDictionary result;
  if (bytes.size() > std::numeric_limits<uint32_t>::max()) {
    return result;
  }
  plist_t tree = nullptr;
  if (bytes.substr(0, 8) == "bplist00") {
    if (binaryPropertyListIsSafe(bytes)) {
      plist_from_bin(bytes.data(), static_cast<uint32_t>(bytes.size()), &tree);
    }
  } else if (std::optional<std::string> text = decodePropertyListText(bytes)) {
    if (!looksLikeXml(*text)) {
      if (std::optional<ValueMap> map = parseOldStyleDictionary(*text)) {
        result.values_ = std::move(*map);
      }
      return result;
    }
    if (xmlNestingWithin(*text, kMaxPropertyListDepth)) {
      plist_from_xml(text->data(), static_cast<uint32_t>(text->size()), &tree);
    }
  }
  result.tree_.reset(tree);
  if (tree != nullptr && plist_get_node_type(tree) != PLIST_DICT) {
    result.tree_.reset();
  }
  return result;
}

bool PropertyListDictionary::empty() const {
  return tree_ ? plist_dict_get_size(tree_.get()) == 0 : values_.empty();
}

std::optional<Value> PropertyListDictionary::find(
    const std::string& key) const {
  if (tree_) {
    return toValue(plist_dict_get_item(tree_.get(), key.c_str()), 1);
  }
  const Value* value = movaro::find(values_, key);
  return value ? std::optional<Value>(*value) : std::nullopt;
}

std::optional<std::string> PropertyListDictionary::findString(
    const std::string& key) const {
  if (tree_) {
    plist_t node = plist_dict_get_item(tree_.get(), key.c_str());
    if (node == nullptr || plist_get_node_type(node) != PLIST_STRING) {
      return std::nullopt;
    }
    uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    return text ? std::string(text, length) : std::string();
  }
  const Value* value = movaro::find(values_, key);
  const auto* text = value ? value->getIf<std::string>() : nullptr;
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

}  // namespace movaro::platform
