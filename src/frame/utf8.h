#pragma once

#include <string_view>

namespace sondrel {

// Well-formed UTF-8: no overlong forms, surrogates, values past U+10FFFF or
// cut sequences. Text that fails this is not text macOS writes.
[[nodiscard]] bool isValidUtf8(std::string_view text);

}  // namespace sondrel
