#pragma once
// Splits a text into its top-level JSON objects, as a report that holds a
// one-line JSON header followed by a JSON body.

#include <string_view>
#include <vector>

namespace sondrel::CommonUtils {

// Each complete top-level {...} in order, as a view into text. Braces inside
// strings (escapes honoured) do not count; a stray closing brace is skipped
// and an unterminated object is dropped.
[[nodiscard]] std::vector<std::string_view> getJsonBlock(std::string_view text);

}  // namespace sondrel::CommonUtils
