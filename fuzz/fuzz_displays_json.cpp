// The system_profiler display list parser on arbitrary bytes.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "perf/system_profiler.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  (void)sondrel::parseDisplaysJson(text);
  (void)sondrel::parseMemorySize(text);
  return 0;
}
