// Reads arbitrary bytes as an application's information list or strings
// table (binary, XML or old-style text, in any text encoding): malformed,
// deeply nested or hugely shared contents must give an empty dictionary or
// entries, never a crash, a hang or a blown stack.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/sim/bundles/plist_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto info = movaro::platform::PropertyListDictionary::parse(bytes);
  // The keys the application list asks for, and a few that fuzzed seeds
  // hold, so that lookups convert nested values too.
  for (const char* key : {"CFBundleIdentifier", "CFBundleDisplayName",
                          "CFBundleName", "CFBundleDisplayName-macos",
                          "CFBundleDevelopmentRegion", "a", "b", ""}) {
    info.find(key);
    info.findString(key);
  }
  movaro::platform::xmlNestingWithin(bytes, 64);
  return 0;
}
