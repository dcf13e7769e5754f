#include "frame/utf8.h"

#include <cstddef>
#include <cstdint>

namespace sondrel {

bool isValidUtf8(std::string_view text) {
  size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<uint8_t>(text[i]);
    size_t extra;
    uint32_t codePoint;
    if (lead < 0x80) {
      ++i;
      continue;
    } else if ((lead & 0xE0) == 0xC0) {
      extra = 1;
      codePoint = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
      extra = 2;
      codePoint = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
      extra = 3;
      codePoint = lead & 0x07;
    } else {
      return false;
    }
    if (i + extra >= text.size()) return false;  // truncated sequence
    for (size_t k = 1; k <= extra; ++k) {
      const auto next = static_cast<uint8_t>(text[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      codePoint = (codePoint << 6) | (next & 0x3F);
    }
    static constexpr uint32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    if (codePoint < kSmallest[extra] || codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF)) {
      return false;  // overlong forms, surrogates and values past Unicode
    }
    i += extra + 1;
  }
  return true;
}

}  // namespace sondrel
