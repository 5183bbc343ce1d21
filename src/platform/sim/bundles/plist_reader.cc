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
