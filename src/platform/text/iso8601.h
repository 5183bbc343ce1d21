// Internet date-times (RFC 3339 profile of ISO 8601), read the way the
// platform's ISO 8601 date formatter reads them with its default options
// and with fractional seconds added.
//
// Accepted form: YYYY-MM-DDTHH:MM:SS, then in the fractional form a full
// stop and one or more digits (required there, refused in the default
// form), then a zone designator. The details where the formatter is lenient
// or RFC 3339 leaves room:
//
// - Zone: "Z", "z", or a sign followed by HH:MM, HHMM or HH. The offset may
//   not exceed 18 hours (the largest that a platform time zone holds).
//   Offsets with seconds and named zones ("GMT", "UTC") are refused.
// - The separator between date and time is an upper-case "T" only.
// - Year: exactly four digits, 0000 to 9999, proleptic Gregorian calendar.
//   Month 01-12; day within its month, with Gregorian leap years.
// - Hour 00-23, minute 00-59, second 00-60. A leap second (60) reads as
//   59, since the platform's clock has none. Hour 24 is accepted only as
//   24:00:00 (with a zero fraction), meaning midnight at the end of that day.
// - Fraction digits beyond the clock's resolution are dropped (truncated,
//   not rounded); any number of digits is accepted.
// - Only ASCII digits; no surrounding whitespace; nothing after the zone.
// - An instant that the system clock cannot represent is refused. With a
//   64-bit nanosecond clock that is anything outside 1677-09-21 to
//   2262-04-11 (UTC); a text within one second of the clock's end counts
//   as outside.
#ifndef MOVARO_PLATFORM_TEXT_ISO8601_H_
#define MOVARO_PLATFORM_TEXT_ISO8601_H_

#include <chrono>
#include <optional>
#include <string_view>

namespace movaro::platform {

// The instant written in `text`, or nothing when it is not an internet
// date-time of the chosen form (see above).
// Nanoseconds, whatever tick the C++ library gives the system clock.
std::optional<std::chrono::sys_time<std::chrono::nanoseconds>>
parseInternetDateTime(std::string_view text, bool withFractionalSeconds);

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_TEXT_ISO8601_H_
