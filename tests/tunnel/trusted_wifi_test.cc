// The trusted Wi-Fi list in clean form (the rules built from it are checked
// through the channel: the connect and auto-connect tests).
#include "tunnel/trusted_wifi.h"

#include <gmock/gmock.h>

namespace movaro::testing {
namespace {

using ::testing::IsEmpty;

// Names are trimmed of Unicode white space and newlines (not of a byte-order
// mark or zero-width space); empty names, names over 32 user-perceived
// characters and non-strings are dropped, and so are canonical duplicates
// (the first spelling stays); the rest is sorted by the scalars of the
// composed forms.
TEST(TrustedWifiTest, ListsAreCleaned) {
  std::string accented;
  for (int i = 0; i < 32; ++i) {
    accented += "e\u0301";  // two scalars, one character
  }
  const std::pair<Value, std::vector<std::string>> kRows[] = {
      {ValueList{"  Cafe  ", "Home", "Home", "", "Office", int32_t{7}, "home"},
       {"Cafe", "Home", "Office", "home"}},
      {ValueList{accented, std::string(33, 'b'), std::string(32, 'a')},
       {std::string(32, 'a'), accented}},
      {ValueList{"\u00a0\u2003Cafe\u2028\r\n", "\u3000", "\t\n",
                 "\ufeffNet\u200b"},
       {"Cafe", "\ufeffNet\u200b"}},
      {ValueList{"Cafe\u0301", "Caf\u00e9", "Zoo"}, {"Cafe\u0301", "Zoo"}},
      {ValueList{"\u00c9clair", "calendar", "Zoom", "E\u0301cole", "apple"},
       {"Zoom", "apple", "calendar", "\u00c9clair", "E\u0301cole"}},
      {"Home", {}},
      {int32_t{1}, {}},
      {dict({{"a", "b"}}), {}},
  };
  for (const auto& [input, kept] : kRows) {
    EXPECT_EQ(sanitizedWifiSsids(input), kept);
  }
  EXPECT_THAT(sanitizedWifiSsids(std::nullopt), IsEmpty());
}

}  // namespace
}  // namespace movaro::testing
