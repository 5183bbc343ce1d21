// binaryPropertyListIsSafe(): the structural check of a binary property
// list, made before libplist is given it.
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/sim/bundles/plist_reader.h"

namespace movaro::platform {
namespace {

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

}  // namespace

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

}  // namespace movaro::platform
