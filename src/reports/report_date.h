#pragma once
// The date forms written by the system's report writers.

#include <cstdint>
#include <optional>
#include <string_view>

namespace sondrel {

// "yyyy-MM-dd HH:mm:ss[.fraction] ±HHMM" (or ±HH:MM), as in "Date/Time",
// "captureTime" and the panic "timestamp": seconds since 1970, with the
// fraction. Any number of fraction digits is accepted, since real writers
// use two, three or four.
[[nodiscard]] std::optional<double> parseReportDate(std::string_view text);

// The line an older panic report carries before "*** Panic Report ***",
// "Sat Jun 16 14:12:49 2018", read in the machine's local time zone (the
// line names none, and it was written by the machine that now reads it).
[[nodiscard]] std::optional<double> parsePanicDateLine(std::string_view text);

// Seconds since 1970 with the fraction cut off, or nothing when they are not
// finite or do not fit an unsigned 64-bit count (before 1970, or too far on).
[[nodiscard]] std::optional<uint64_t> wholeSeconds(double seconds);

// Whole seconds of a parsed date, or 0 when there is none or it does not fit.
[[nodiscard]] unsigned long long wholeSecondsOrZero(std::optional<double> seconds);

}  // namespace sondrel
