// Report text of any shape: the splitter must stay inside the text and
// return only balanced objects.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "frame/json_blocks.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const auto block : sondrel::CommonUtils::getJsonBlock(text)) {
    if (block.empty() || block.front() != '{' || block.back() != '}') __builtin_trap();
    if (block.data() < text.data() || block.data() + block.size() > text.data() + text.size()) __builtin_trap();
  }
  return 0;
}
