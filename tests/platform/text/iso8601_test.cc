#include "platform/text/iso8601.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

namespace movaro::platform {
namespace {

using namespace std::chrono_literals;
using Instant = std::chrono::sys_time<std::chrono::nanoseconds>;

// A UTC date and the seconds into it, as the clock's time point (counted
// in seconds first: midnight may lie outside the clock's range).
Instant utc(int y, unsigned m, unsigned d, std::chrono::seconds s = 0s) {
  return Instant(std::chrono::sys_days(std::chrono::year(y) / m / d) + s);
}

constexpr bool kDefault = false;
constexpr bool kFractional = true;

// Read in the form its text asks for: with a fraction when it has one.
std::optional<Instant> read(std::string_view text) {
  return parseInternetDateTime(text, text.find('.') != std::string::npos);
}

TEST(Iso8601Test, AcceptsInternetDateTimes) {
  const Instant newYear = utc(2031, 1, 1);
  // Every zone form (offsets up to 18 hours), a zero fraction, and hour 24
  // closing the day before.
  for (const char* text :
       {"2031-01-01T00:00:00Z", "2031-01-01T02:00:00+02:00",
        "2030-12-31T19:00:00-05:00", "2031-01-01T05:30:00+0530",
        "2031-01-01T03:00:00+03", "2031-01-01T00:00:00-00:00",
        "2031-01-01T00:00:00z", "2031-01-01T18:00:00+18:00",
        "2030-12-31T06:00:00-18:00", "2031-01-01T00:00:00.000Z",
        "2030-12-31T24:00:00Z", "2030-12-31T24:00:00.000Z"}) {
    EXPECT_EQ(read(text), newYear) << text;
  }
  const std::pair<const char*, Instant> kRows[] = {
      {"2031-01-01T00:00:00.250Z", newYear + 250ms},
      {"2031-01-01T00:00:00.5+00:00", newYear + 500ms},
      {"2031-01-01T02:00:00.001+02:00", newYear + 1ms},
      // Nanoseconds are kept, further digits dropped.
      {"2031-01-01T00:00:00.123456789999Z", newYear + 123456789ns},
      // Leap years, including the century rules.
      {"2028-02-29T00:00:00Z", utc(2028, 2, 29)},
      {"2000-02-29T00:00:00Z", utc(2000, 2, 29)},
      {"2031-12-31T23:59:59Z", utc(2032, 1, 1) - 1s},
      // A leap second reads as the second before it.
      {"2030-12-31T23:59:60Z", newYear - 1s},
      {"1970-01-01T00:00:00Z", Instant{}},
      {"1969-12-31T23:59:59Z", Instant{} - 1s},
      // The first and last whole seconds of 64-bit nanoseconds.
      {"2262-04-11T23:47:15Z", utc(2262, 4, 11, 85635s)},
      {"1677-09-21T00:12:44Z", utc(1677, 9, 21, 764s)},
  };
  for (const auto& [text, expected] : kRows) {
    EXPECT_EQ(read(text), expected) << text;
  }
}

TEST(Iso8601Test, RefusesMalformedText) {
  const char* const kRefused[] = {
      // No zone; a lower-case or space separator; date only; no seconds;
      // basic format; one-digit month or hour; a two-digit, signed or
      // five-digit year; white space around; trailing text.
      "", "garbage", "2031-01-01T00:00:00", "2031-01-01T00:00:00.250",
      "2031-01-01t00:00:00Z", "2031-01-01 00:00:00Z", "2031-01-01",
      "2031-01-01T00:00Z", "20310101T000000Z", "2031-1-01T00:00:00Z",
      "2031-01-01T0:00:00Z", "31-01-01T00:00:00Z", "+2031-01-01T00:00:00Z",
      "12031-01-01T00:00:00Z", " 2031-01-01T00:00:00Z", "2031-01-01T00:00:00Z ",
      "2031-01-01T00:00:00ZZ",
      // Offsets of the wrong shape or beyond 18 hours; named zones; a space
      // before the zone; a comma for the fraction.
      "2031-01-01T00:00:00+2",
      "2031-01-01T00:00:00+02:", "2031-01-01T00:00:00+02:0",
      "2031-01-01T00:00:00+020", "2031-01-01T00:00:00+02:00:00",
      "2031-01-01T00:00:00+02:60", "2031-01-01T00:00:00+18:01",
      "2031-01-01T00:00:00+19", "2031-01-01T00:00:00GMT",
      "2031-01-01T00:00:00UTC", "2031-01-01T00:00:00 Z",
      "2031-01-01T00:00:00,5Z",
      // Fields out of range: month 0 and 13, day 0 and 32, April 31,
      // February 29 outside leap years, hours 25 and 24:00:01 and 24:01,
      // minute 60, second 61; letters and non-ASCII digits.
      "2031-00-01T00:00:00Z", "2031-13-01T00:00:00Z", "2031-01-00T00:00:00Z",
      "2031-01-32T00:00:00Z", "2031-04-31T00:00:00Z", "2031-02-29T00:00:00Z",
      "2100-02-29T00:00:00Z", "2031-01-01T25:00:00Z", "2031-01-01T24:00:01Z",
      "2031-01-01T24:01:00Z", "2031-01-01T00:60:00Z", "2031-01-01T00:00:61Z",
      "2031-01-01T00:00:0aZ", "２０３１-01-01T00:00:00Z",
      // Instants 64-bit nanoseconds cannot hold.
      "9999-12-31T23:59:59Z", "0000-01-01T00:00:00Z", "2262-04-11T23:47:16Z",
      "1677-09-21T00:12:43Z"};
  for (const char* text : kRefused) {
    EXPECT_FALSE(parseInternetDateTime(text, kDefault)) << text;
    EXPECT_FALSE(parseInternetDateTime(text, kFractional)) << text;
  }
  // A fraction is required in one form and refused in the other.
  EXPECT_FALSE(parseInternetDateTime("2031-01-01T00:00:00.250Z", kDefault));
  for (const char* text : {"2031-01-01T00:00:00Z", "2031-01-01T00:00:00.Z",
                           "2031-01-01T24:00:00.5Z", "2031-01-01T00:00:00.2a5Z",
                           "2031-01-01T00:00:00.-5Z"}) {
    EXPECT_FALSE(parseInternetDateTime(text, kFractional)) << text;
  }
  // Cut short anywhere but before the optional offset minutes.
  const std::string full = "2031-01-01T02:00:00.250+02:00";
  for (size_t length = 0; length < full.size(); ++length) {
    EXPECT_EQ(
        parseInternetDateTime(full.substr(0, length), kFractional).has_value(),
        length == full.size() - 3)
        << length;
  }
}

}  // namespace
}  // namespace movaro::platform
