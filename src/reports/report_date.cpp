#include "reports/report_date.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <ctime>

namespace sondrel {

namespace {

// Days from 1970-01-01 to a proleptic Gregorian date (Howard Hinnant's
// civil-date algorithm), so no time-zone state of the process is involved.
int64_t daysFromCivil(int64_t year, unsigned month, unsigned day) {
  year -= month <= 2 ? 1 : 0;
  const int64_t era = (year >= 0 ? year : year - 399) / 400;
  const auto yearOfEra = static_cast<unsigned>(year - era * 400);
  const unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + static_cast<int64_t>(dayOfEra) - 719468;
}

bool isLeapYear(int64_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

unsigned daysInMonth(int64_t year, unsigned month) {
  static constexpr std::array<unsigned, 12> days{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && isLeapYear(year) ? 29 : days[month - 1];
}

class Cursor {
 public:
  explicit Cursor(std::string_view text) : text_(text) {}

  // Exactly count decimal digits.
  bool digits(size_t count, unsigned& value) {
    value = 0;
    for (size_t i = 0; i < count; ++i) {
      if (at_ >= text_.size() || text_[at_] < '0' || text_[at_] > '9') return false;
      value = value * 10 + static_cast<unsigned>(text_[at_++] - '0');
    }
    return true;
  }
  bool literal(char c) {
    if (at_ >= text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }
  bool peek(char c) const { return at_ < text_.size() && text_[at_] == c; }
  bool peekDigit() const { return at_ < text_.size() && text_[at_] >= '0' && text_[at_] <= '9'; }
  bool spaces() {
    const size_t start = at_;
    while (at_ < text_.size() && text_[at_] == ' ') ++at_;
    return at_ > start;
  }
  std::string_view word(size_t length) {
    if (at_ + length > text_.size()) return {};
    auto result = text_.substr(at_, length);
    at_ += length;
    return result;
  }
  // Unsigned decimal of one or more digits, at most maxDigits.
  bool number(size_t maxDigits, unsigned& value) {
    value = 0;
    size_t count = 0;
    while (peekDigit() && count < maxDigits) {
      value = value * 10 + static_cast<unsigned>(text_[at_++] - '0');
      ++count;
    }
    return count > 0 && !peekDigit();
  }
  [[nodiscard]] bool atEnd() const { return at_ == text_.size(); }

 private:
  std::string_view text_;
  size_t at_ = 0;
};

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r' || text.back() == '\n')) {
    text.remove_suffix(1);
  }
  return text;
}

bool validClock(unsigned hour, unsigned minute, unsigned second) { return hour < 24 && minute < 60 && second < 61; }

}  // namespace

std::optional<double> parseReportDate(std::string_view text) {
  Cursor cursor(trimmed(text));
  unsigned year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  if (!cursor.digits(4, year) || !cursor.literal('-') || !cursor.digits(2, month) || !cursor.literal('-') ||
      !cursor.digits(2, day) || !cursor.spaces() || !cursor.digits(2, hour) || !cursor.literal(':') ||
      !cursor.digits(2, minute) || !cursor.literal(':') || !cursor.digits(2, second)) {
    return std::nullopt;
  }
  double fraction = 0;
  if (cursor.literal('.')) {
    if (!cursor.peekDigit()) return std::nullopt;
    double scale = 0.1;
    unsigned digit = 0;
    while (cursor.peekDigit() && cursor.digits(1, digit)) {
      fraction += scale * digit;
      scale /= 10;
    }
  }
  if (!cursor.spaces()) return std::nullopt;
  int sign = 0;
  if (cursor.literal('+')) {
    sign = 1;
  } else if (cursor.literal('-')) {
    sign = -1;
  } else {
    return std::nullopt;
  }
  unsigned offsetHours = 0, offsetMinutes = 0;
  if (!cursor.digits(2, offsetHours)) return std::nullopt;
  cursor.literal(':');
  if (!cursor.digits(2, offsetMinutes) || !cursor.atEnd()) return std::nullopt;
  if (month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month) || !validClock(hour, minute, second) ||
      offsetHours > 23 || offsetMinutes > 59) {
    return std::nullopt;
  }
  const int64_t local = daysFromCivil(year, month, day) * 86400 + hour * 3600 + minute * 60 + second;
  const int64_t offset = sign * static_cast<int64_t>(offsetHours * 3600 + offsetMinutes * 60);
  return static_cast<double>(local - offset) + fraction;
}

std::optional<double> parsePanicDateLine(std::string_view text) {
  static constexpr std::array<std::string_view, 7> kWeekdays{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr std::array<std::string_view, 12> kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  Cursor cursor(trimmed(text));
  const auto weekday = cursor.word(3);
  bool knownWeekday = false;
  for (auto name : kWeekdays) knownWeekday = knownWeekday || name == weekday;
  if (!knownWeekday || !cursor.spaces()) return std::nullopt;
  const auto monthName = cursor.word(3);
  unsigned month = 0;
  for (unsigned i = 0; i < kMonths.size(); ++i) {
    if (kMonths[i] == monthName) month = i + 1;
  }
  unsigned day = 0, hour = 0, minute = 0, second = 0, year = 0;
  if (month == 0 || !cursor.spaces() || !cursor.number(2, day) || !cursor.spaces() || !cursor.digits(2, hour) ||
      !cursor.literal(':') || !cursor.digits(2, minute) || !cursor.literal(':') || !cursor.digits(2, second) ||
      !cursor.spaces() || !cursor.digits(4, year) || !cursor.atEnd()) {
    return std::nullopt;
  }
  if (day < 1 || day > daysInMonth(year, month) || !validClock(hour, minute, second)) return std::nullopt;
  std::tm parts{};
  parts.tm_year = static_cast<int>(year) - 1900;
  parts.tm_mon = static_cast<int>(month) - 1;
  parts.tm_mday = static_cast<int>(day);
  parts.tm_hour = static_cast<int>(hour);
  parts.tm_min = static_cast<int>(minute);
  parts.tm_sec = static_cast<int>(second);
  parts.tm_isdst = -1;
  const std::time_t seconds = std::mktime(&parts);
  if (seconds == static_cast<std::time_t>(-1)) return std::nullopt;
  return static_cast<double>(seconds);
}

std::optional<uint64_t> wholeSeconds(double seconds) {
  if (!std::isfinite(seconds) || seconds < 0 || seconds >= 18446744073709551616.0) return std::nullopt;
  return static_cast<uint64_t>(seconds);
}

unsigned long long wholeSecondsOrZero(std::optional<double> seconds) {
  return seconds ? wholeSeconds(*seconds).value_or(0) : 0;
}

}  // namespace sondrel
