#include "platform/text/iso8601.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace movaro::platform {
namespace {

using namespace std::chrono_literals;
using Instant = std::chrono::sys_time<std::chrono::nanoseconds>;
using std::chrono::sys_days;
using std::chrono::year;

// Midnight UTC of a date, as the clock's time point.
Instant utc(int y, unsigned m, unsigned d) {
  return Instant(sys_days(year(y) / m / d));
}

constexpr bool kDefault = false;
constexpr bool kFractional = true;

struct Accepted {
  const char* text;
  bool fractional;
  Instant expected;
};

TEST(Iso8601Test, AcceptsInternetDateTimes) {
  const Instant newYear = utc(2031, 1, 1);
  const Accepted cases[] = {
      {"2031-01-01T00:00:00Z", kDefault, newYear},
      {"2031-01-01T02:00:00+02:00", kDefault, newYear},
      {"2030-12-31T19:00:00-05:00", kDefault, newYear},
      {"2031-01-01T05:30:00+0530", kDefault, newYear},
      {"2031-01-01T03:00:00+03", kDefault, newYear},
      {"2031-01-01T00:00:00-00:00", kDefault, newYear},
      {"2031-01-01T00:00:00z", kDefault, newYear},
      {"2031-01-01T18:00:00+18:00", kDefault, newYear},
      {"2030-12-31T06:00:00-18:00", kDefault, newYear},
      {"2031-01-01T00:00:00.250Z", kFractional, newYear + 250ms},
      {"2031-01-01T00:00:00.5+00:00", kFractional, newYear + 500ms},
      {"2031-01-01T00:00:00.000Z", kFractional, newYear},
      {"2031-01-01T02:00:00.001+02:00", kFractional, newYear + 1ms},
      // Leap years, including the century rules.
      {"2028-02-29T00:00:00Z", kDefault, utc(2028, 2, 29)},
      {"2000-02-29T00:00:00Z", kDefault, utc(2000, 2, 29)},
      {"2031-12-31T23:59:59Z", kDefault, utc(2032, 1, 1) - 1s},
      // A leap second reads as the second before it.
      {"2030-12-31T23:59:60Z", kDefault, newYear - 1s},
      // Hour 24 closes the day.
      {"2030-12-31T24:00:00Z", kDefault, newYear},
      {"2030-12-31T24:00:00.000Z", kFractional, newYear},
      {"1970-01-01T00:00:00Z", kDefault, Instant{}},
      {"1969-12-31T23:59:59Z", kDefault, Instant{} - 1s},
  };
  for (const Accepted& c : cases) {
    SCOPED_TRACE(c.text);
    std::optional<Instant> parsed = parseInternetDateTime(c.text, c.fractional);
    ASSERT_TRUE(parsed.has_value());
    EXPECT_EQ(*parsed, c.expected);
  }
}

TEST(Iso8601Test, FractionIsRequiredInOneFormAndRefusedInTheOther) {
  EXPECT_FALSE(parseInternetDateTime("2031-01-01T00:00:00.250Z", kDefault));
  EXPECT_FALSE(parseInternetDateTime("2031-01-01T00:00:00Z", kFractional));
  EXPECT_FALSE(parseInternetDateTime("2031-01-01T00:00:00.Z", kFractional));
}

TEST(Iso8601Test, FractionKeepsNanosecondsAndTruncates) {
  const Instant newYear = utc(2031, 1, 1);
  std::optional<Instant> parsed =
      parseInternetDateTime("2031-01-01T00:00:00.123456789999Z", kFractional);
  ASSERT_TRUE(parsed.has_value());
  EXPECT_EQ(*parsed, newYear + std::chrono::duration_cast<Instant::duration>(
                                   std::chrono::nanoseconds(123456789)));
}

TEST(Iso8601Test, RefusesMalformedText) {
  const char* const refused[] = {
      "",
      "garbage",
      "2031-01-01T00:00:00",           // no zone
      "2031-01-01T00:00:00.250",       // no zone, fractional
      "2031-01-01t00:00:00Z",          // lower-case separator
      "2031-01-01 00:00:00Z",          // space separator
      "2031-01-01",                    // date only
      "2031-01-01T00:00Z",             // no seconds
      "20310101T000000Z",              // basic format
      "2031-1-01T00:00:00Z",           // one-digit month
      "2031-01-01T0:00:00Z",           // one-digit hour
      "31-01-01T00:00:00Z",            // two-digit year
      "+2031-01-01T00:00:00Z",         // signed year
      "12031-01-01T00:00:00Z",         // five-digit year
      " 2031-01-01T00:00:00Z",         // leading space
      "2031-01-01T00:00:00Z ",         // trailing space
      "2031-01-01T00:00:00ZZ",         // trailing text
      "2031-01-01T00:00:00+2",         // one-digit offset
      "2031-01-01T00:00:00+02:",       // colon without minutes
      "2031-01-01T00:00:00+02:0",      // one-digit offset minutes
      "2031-01-01T00:00:00+020",       // three-digit offset
      "2031-01-01T00:00:00+02:00:00",  // offset with seconds
      "2031-01-01T00:00:00+02:60",     // offset minutes out of range
      "2031-01-01T00:00:00+18:01",     // beyond 18 hours
      "2031-01-01T00:00:00+19",        // beyond 18 hours
      "2031-01-01T00:00:00GMT",        // named zone
      "2031-01-01T00:00:00UTC",        // named zone
      "2031-01-01T00:00:00 Z",         // space before zone
      "2031-01-01T00:00:00,5Z",        // comma is not a fraction here
      "2031-00-01T00:00:00Z",          // month 0
      "2031-13-01T00:00:00Z",          // month 13
      "2031-01-00T00:00:00Z",          // day 0
      "2031-01-32T00:00:00Z",          // day 32
      "2031-04-31T00:00:00Z",          // April has 30 days
      "2031-02-29T00:00:00Z",          // not a leap year
      "2100-02-29T00:00:00Z",          // century, not a leap year
      "2031-01-01T25:00:00Z",          // hour 25
      "2031-01-01T24:00:01Z",          // hour 24 with seconds
      "2031-01-01T24:01:00Z",          // hour 24 with minutes
      "2031-01-01T00:60:00Z",          // minute 60
      "2031-01-01T00:00:61Z",          // second 61
      "2031-01-01T00:00:0aZ",          // letter in digits
      "２０３１-01-01T00:00:00Z",      // non-ASCII digits
  };
  for (const char* text : refused) {
    EXPECT_FALSE(parseInternetDateTime(text, kDefault)) << text;
    EXPECT_FALSE(parseInternetDateTime(text, kFractional)) << text;
  }
  EXPECT_FALSE(parseInternetDateTime("2031-01-01T24:00:00.5Z", kFractional));
  EXPECT_FALSE(parseInternetDateTime("2031-01-01T00:00:00.2a5Z", kFractional));
  EXPECT_FALSE(parseInternetDateTime("2031-01-01T00:00:00.-5Z", kFractional));
}

TEST(Iso8601Test, RefusesTextCutShortAnywhere) {
  const std::string full = "2031-01-01T02:00:00.250+02:00";
  for (size_t length = 0; length < full.size(); ++length) {
    // "+02" alone is a valid zone, so stop short of the optional minutes.
    if (length == full.size() - 3) {
      continue;
    }
    EXPECT_FALSE(parseInternetDateTime(full.substr(0, length), kFractional))
        << full.substr(0, length);
  }
}

TEST(Iso8601Test, RefusesInstantsTheClockCannotHold) {
  // Instants are 64-bit nanoseconds on every C++ library: they end in 2262.
  using std::chrono::seconds;
  const seconds latest = std::chrono::floor<seconds>(Instant::duration::max());
  const seconds earliest = std::chrono::ceil<seconds>(Instant::duration::min());
  struct Case {
    const char* text;
    seconds sinceEpoch;
  };
  const Case cases[] = {
      {"9999-12-31T23:59:59Z",
       sys_days(year(10000) / 1 / 1).time_since_epoch() - 1s},
      {"0000-01-01T00:00:00Z", sys_days(year(0) / 1 / 1).time_since_epoch()},
      {"2262-04-11T23:47:15Z",
       sys_days(year(2262) / 4 / 11).time_since_epoch() + 23h + 47min + 15s},
      {"2262-04-11T23:47:16Z",
       sys_days(year(2262) / 4 / 11).time_since_epoch() + 23h + 47min + 16s},
      {"1677-09-21T00:12:44Z",
       sys_days(year(1677) / 9 / 21).time_since_epoch() + 12min + 44s},
      {"1677-09-21T00:12:43Z",
       sys_days(year(1677) / 9 / 21).time_since_epoch() + 12min + 43s},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    std::optional<Instant> parsed = parseInternetDateTime(c.text, kDefault);
    if (c.sinceEpoch >= earliest && c.sinceEpoch < latest) {
      ASSERT_TRUE(parsed.has_value());
      EXPECT_EQ(parsed->time_since_epoch(), c.sinceEpoch);
    } else {
      EXPECT_FALSE(parsed.has_value());
    }
  }
  EXPECT_TRUE(parseInternetDateTime("2262-04-11T23:47:15Z", kDefault));
  EXPECT_FALSE(parseInternetDateTime("2262-04-11T23:47:16Z", kDefault));
  EXPECT_TRUE(parseInternetDateTime("1677-09-21T00:12:44Z", kDefault));
  EXPECT_FALSE(parseInternetDateTime("1677-09-21T00:12:43Z", kDefault));
  EXPECT_FALSE(parseInternetDateTime("9999-12-31T23:59:59Z", kDefault));
}

}  // namespace
}  // namespace movaro::platform
