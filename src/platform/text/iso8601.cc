#include "platform/text/iso8601.h"

#include <cstdint>

namespace movaro::platform {
namespace {

using std::chrono::seconds;
using Instant = std::chrono::sys_time<std::chrono::nanoseconds>;

constexpr int kMaxOffsetMinutes = 18 * 60;
constexpr int kNanosecondDigits = 9;

// Reads the text from left to right; every read either consumes what it
// expects or reports false and leaves the position undefined.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  bool atEnd() const { return position_ == text_.size(); }

  bool peekDigit() const {
    return !atEnd() && text_[position_] >= '0' && text_[position_] <= '9';
  }

  bool literal(char expected) {
    if (atEnd() || text_[position_] != expected) {
      return false;
    }
    ++position_;
    return true;
  }

  // Exactly `count` ASCII digits as a number.
  bool digits(int count, int& value) {
    value = 0;
    for (int i = 0; i < count; ++i) {
      if (!peekDigit()) {
        return false;
      }
      value = value * 10 + (text_[position_++] - '0');
    }
    return true;
  }

  // One or more digits after a full stop, as nanoseconds (truncated).
  bool fraction(int64_t& nanoseconds) {
    if (!peekDigit()) {
      return false;
    }
    nanoseconds = 0;
    int used = 0;
    while (peekDigit()) {
      if (used < kNanosecondDigits) {
        nanoseconds = nanoseconds * 10 + (text_[position_] - '0');
        ++used;
      }
      ++position_;
    }
    for (; used < kNanosecondDigits; ++used) {
      nanoseconds *= 10;
    }
    return true;
  }

  // The zone designator, as minutes east of UTC.
  bool zone(int& offsetMinutes) {
    if (literal('Z') || literal('z')) {
      offsetMinutes = 0;
      return true;
    }
    int sign;
    if (literal('+')) {
      sign = 1;
    } else if (literal('-')) {
      sign = -1;
    } else {
      return false;
    }
    int hours;
    int minutes = 0;
    if (!digits(2, hours)) {
      return false;
    }
    if (literal(':')) {
      if (!digits(2, minutes)) {
        return false;
      }
    } else if (peekDigit() && !digits(2, minutes)) {
      return false;
    }
    if (minutes > 59 || hours * 60 + minutes > kMaxOffsetMinutes) {
      return false;
    }
    offsetMinutes = sign * (hours * 60 + minutes);
    return true;
  }

 private:
  std::string_view text_;
  size_t position_ = 0;
};

}  // namespace

std::optional<Instant> parseInternetDateTime(std::string_view text,
                                             bool withFractionalSeconds) {
  Reader reader(text);
  int year, month, day, hour, minute, second;
  if (!reader.digits(4, year) || !reader.literal('-') ||
      !reader.digits(2, month) || !reader.literal('-') ||
      !reader.digits(2, day) || !reader.literal('T') ||
      !reader.digits(2, hour) || !reader.literal(':') ||
      !reader.digits(2, minute) || !reader.literal(':') ||
      !reader.digits(2, second)) {
    return std::nullopt;
  }
  int64_t nanoseconds = 0;
  if (withFractionalSeconds &&
      (!reader.literal('.') || !reader.fraction(nanoseconds))) {
    return std::nullopt;
  }
  int offsetMinutes;
  if (!reader.zone(offsetMinutes) || !reader.atEnd()) {
    return std::nullopt;
  }

  const std::chrono::year_month_day date{
      std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
      std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok() || minute > 59 || second > 60) {
    return std::nullopt;
  }
  if (hour > 24 ||
      (hour == 24 && (minute != 0 || second != 0 || nanoseconds != 0))) {
    return std::nullopt;
  }
  if (second == 60) {
    second = 59;
  }

  // Years 0000-9999 keep this well inside 64-bit seconds.
  const seconds sinceEpoch = std::chrono::sys_days(date).time_since_epoch() +
                             std::chrono::hours(hour) +
                             std::chrono::minutes(minute) + seconds(second) -
                             std::chrono::minutes(offsetMinutes);
  // The fraction adds less than a second, hence the strict upper bound.
  const seconds latest = std::chrono::floor<seconds>(Instant::duration::max());
  const seconds earliest = std::chrono::ceil<seconds>(Instant::duration::min());
  if (sinceEpoch < earliest || sinceEpoch >= latest) {
    return std::nullopt;
  }
  return Instant(std::chrono::duration_cast<Instant::duration>(sinceEpoch) +
                 std::chrono::duration_cast<Instant::duration>(
                     std::chrono::nanoseconds(nanoseconds)));
}

}  // namespace movaro::platform
