#pragma once
// Splitting and number reading for the line-and-blank text of kernel files
// and tool output. Every function reads the text in place.

#include <charconv>
#include <optional>
#include <string_view>

namespace sondrel {

// Splits off the next line (without its newline).
inline std::string_view nextLine(std::string_view& text) {
  const auto end = text.find('\n');
  const auto line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

// Splits off the next field, fields being separated by spaces, tabs and
// newlines; empty when none is left.
inline std::string_view nextField(std::string_view& text) {
  const auto start = text.find_first_not_of(" \t\n");
  if (start == std::string_view::npos) {
    text = {};
    return {};
  }
  text.remove_prefix(start);
  const auto end = text.find_first_of(" \t\n");
  const auto field = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end);
  return field;
}

// The whole of text as a decimal number; nothing when it is empty, carries
// anything else, or does not fit.
template <typename Number>
[[nodiscard]] std::optional<Number> parseWhole(std::string_view text) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (text.empty() || error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace sondrel
