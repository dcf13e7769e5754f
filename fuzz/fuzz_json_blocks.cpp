// The JSON splitter: every block it returns lies inside the text and is balanced.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "frame/json_blocks.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  size_t previousEnd = 0;
  for (const auto block : sondrel::CommonUtils::getJsonBlock(text)) {
    const auto offset = static_cast<size_t>(block.data() - text.data());
    if (offset < previousEnd || offset + block.size() > text.size()) std::abort();
    if (block.size() < 2 || block.front() != '{' || block.back() != '}') std::abort();
    previousEnd = offset + block.size();
  }
  return 0;
}
