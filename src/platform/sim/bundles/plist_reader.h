// Property-list files as Foundation reads them: binary and XML (through
// libplist) and old-style text (strings_file.h), in UTF-8 or UTF-16.
//
// Values convert to the codec's value model:
// - string to std::string (UTF-8), boolean to bool, real to double;
// - integer to int32_t when it fits, else int64_t, as the codec carries a
//   number. Integers above INT64_MAX, which libplist 2.2 keeps only as their
//   low 64 bits, read as negative;
// - date to double, seconds since 1970-01-01 UTC. A number rather than a
//   text, so that a date is never mistaken for a string entry;
// - data to std::vector<uint8_t>; array to ValueList; dictionary to
//   ValueMap with string keys. Keyed-archive UIDs have no counterpart and
//   are left out (array items and dictionary entries alike).
//
// Files are read only up to kPropertyListFileLimit bytes; a larger file
// counts as unreadable. Malformed or hostile contents are refused as a
// whole: truncated or corrupt binary lists, binary dictionary keys that are
// not strings or hold a NUL character, nesting deeper than 64 levels, and
// binary lists whose shared objects would expand to more than
// kMaxExpandedObjects (libplist copies every shared object, and recurses
// once per nesting level).
#ifndef MOVARO_PLATFORM_SIM_BUNDLES_PLIST_READER_H_
#define MOVARO_PLATFORM_SIM_BUNDLES_PLIST_READER_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "bridge/value.h"

namespace movaro::platform {

inline constexpr size_t kPropertyListFileLimit = size_t{1} << 20;
inline constexpr int kMaxPropertyListDepth = 64;
inline constexpr uint64_t kMaxExpandedObjects = uint64_t{1} << 22;

// The bytes of a regular file of at most `limit` bytes, `path` taken
// relative to the open folder `directory` (AT_FDCWD for the working
// folder; an absolute path ignores it). Absent when the file is missing
// (then `*missing` is set), not a regular file (a FIFO is never waited
// on), unreadable or larger.
std::optional<std::string> readSmallFile(int directory,
                                         const std::string& path,
                                         bool* missing = nullptr,
                                         size_t limit = kPropertyListFileLimit);

// Whether a binary property list is well-formed enough and small enough
// once expanded: trailer and offset table in range, every reference to an
// existing object, no cycles, every dictionary key a string without NUL
// characters, at most kMaxPropertyListDepth levels and kMaxExpandedObjects
// objects once shared objects are copied.
bool binaryPropertyListIsSafe(std::string_view bytes);

// Whether XML text nests arrays and dictionaries at most `limit` deep.
bool xmlNestingWithin(std::string_view text, int limit);

// The top-level dictionary of a property list. Binary and XML lists keep
// libplist's tree and convert an entry only when it is looked up; old-style
// text is converted once.
class PropertyListDictionary {
 public:
  PropertyListDictionary();
  ~PropertyListDictionary();
  PropertyListDictionary(PropertyListDictionary&&) noexcept;
  PropertyListDictionary& operator=(PropertyListDictionary&&) noexcept;

  // Any form; empty when malformed or when the top level is not a
  // dictionary.
  static PropertyListDictionary parse(std::string_view bytes);

  bool empty() const;
  std::optional<Value> find(const std::string& key) const;
  // The entry when it is a string.
  std::optional<std::string> findString(const std::string& key) const;

 private:
  struct TreeDeleter {
    void operator()(void* tree) const;
  };
  std::unique_ptr<void, TreeDeleter> tree_;
  ValueMap values_;
};

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_SIM_BUNDLES_PLIST_READER_H_
