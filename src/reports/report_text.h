#pragma once
// Line handling shared by the text report parsers.

#include <cstring>
#include <string_view>

namespace sondrel::reporttext {

[[nodiscard]] constexpr bool isSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

[[nodiscard]] constexpr std::string_view trim(std::string_view text) {
  size_t begin = 0;
  while (begin < text.size() && isSpace(text[begin])) ++begin;
  size_t end = text.size();
  while (end > begin && isSpace(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

// Calls onLine with each line (without its line end), "\n", "\r\n" and a
// lone "\r" all ending a line; stops early when onLine returns false.
template <typename OnLine>
void forEachLine(std::string_view text, OnLine&& onLine) {
  size_t start = 0;
  while (start < text.size()) {
    const void* newline = std::memchr(text.data() + start, '\n', text.size() - start);
    const size_t end = newline != nullptr ? static_cast<size_t>(static_cast<const char*>(newline) - text.data())
                                          : text.size();
    std::string_view segment = text.substr(start, end - start);
    for (size_t cr = segment.find('\r'); cr != std::string_view::npos; cr = segment.find('\r')) {
      if (!onLine(segment.substr(0, cr))) return;
      segment.remove_prefix(cr + 1);
      if (segment.empty()) break;  // "\r\n" ends one line, not two
    }
    if (!segment.empty() || (end > start && text[end - 1] != '\r')) {
      if (!onLine(segment)) return;
    } else if (end == start) {
      if (!onLine(segment)) return;
    }
    start = end + 1;
  }
}

[[nodiscard]] constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace sondrel::reporttext
