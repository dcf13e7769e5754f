#include "frame/json_blocks.h"

#include <cstddef>

namespace sondrel::CommonUtils {

std::vector<std::string_view> getJsonBlock(std::string_view text) {
  std::vector<std::string_view> blocks;
  size_t depth = 0;
  size_t start = 0;
  bool inString = false;
  bool escaped = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (escaped) {
        escaped = false;
      } else if (c == '\\') {
        escaped = true;
      } else if (c == '"') {
        inString = false;
      }
      continue;
    }
    if (depth == 0) {
      if (c == '{') {
        depth = 1;
        start = i;
      }
      continue;  // text between objects, stray closers included, is not JSON we keep
    }
    if (c == '"') {
      inString = true;
    } else if (c == '{') {
      ++depth;
    } else if (c == '}' && --depth == 0) {
      blocks.push_back(text.substr(start, i - start + 1));
    }
  }
  return blocks;
}

}  // namespace sondrel::CommonUtils
