// The hand-written binary image line reader against the pattern it stands for.

#include <re2/re2.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "frame/export_guard.h"
#include "reports/binary_image_line.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const RE2 pattern(sondrel::kBinaryImagePattern);
  std::string line(reinterpret_cast<const char*>(data), size);
  for (auto& c : line) {
    if (c == '\n') c = ' ';  // the reader gets lines, never a line feed
  }
  // Report text is checked to be UTF-8 before it is parsed, and RE2 reads
  // invalid bytes differently from the byte-wise reader.
  if (!sondrel::isValidUtf8(line)) return 0;
  std::string name, version, path;
  const bool matched = RE2::PartialMatch(line, pattern, &name, &version, &path);
  const auto fields = sondrel::matchBinaryImageLine(line);
  if (fields.has_value() != matched) std::abort();
  if (matched && (fields->name != name || fields->version != version || fields->path != path)) std::abort();
  return 0;
}
