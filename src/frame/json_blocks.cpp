#include "frame/json_blocks.h"

#include <cstddef>
#include <cstring>

namespace sondrel::CommonUtils {

namespace {

// Reports are mostly string contents: skipping them with memchr instead of a
// byte-by-byte state machine keeps the split cheap next to the parse.
size_t find(std::string_view text, size_t from, char wanted) {
  if (from >= text.size()) return std::string_view::npos;
  const void* hit = std::memchr(text.data() + from, wanted, text.size() - from);
  return hit == nullptr ? std::string_view::npos : static_cast<size_t>(static_cast<const char*>(hit) - text.data());
}

// The position just past the quote that closes the string whose opening quote is at open.
size_t endOfString(std::string_view text, size_t open) {
  for (size_t from = open + 1;;) {
    const size_t quote = find(text, from, '"');
    if (quote == std::string_view::npos) return quote;
    size_t backslashes = 0;
    while (quote - backslashes > open + 1 && text[quote - backslashes - 1] == '\\') ++backslashes;
    if (backslashes % 2 == 0) return quote + 1;
    from = quote + 1;
  }
}

}  // namespace

std::vector<std::string_view> getJsonBlock(std::string_view text) {
  std::vector<std::string_view> blocks;
  size_t at = 0;
  while (at < text.size()) {
    // Between objects only an opening brace matters; stray closers and quotes are not JSON we keep.
    const size_t start = find(text, at, '{');
    if (start == std::string_view::npos) break;
    size_t depth = 1;
    size_t i = start + 1;
    while (depth > 0 && i < text.size()) {
      const char c = text[i];
      if (c == '"') {
        i = endOfString(text, i);
        if (i == std::string_view::npos) return blocks;  // an unterminated string never closes its object
        continue;
      }
      if (c == '{') {
        ++depth;
      } else if (c == '}') {
        --depth;
      }
      ++i;
    }
    if (depth > 0) break;  // unterminated object: dropped
    blocks.push_back(text.substr(start, i - start));
    at = i;
  }
  return blocks;
}

}  // namespace sondrel::CommonUtils
