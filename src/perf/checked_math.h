#pragma once
// Overflow in tick sums, page arithmetic or count narrowing means the kernel's
// figures broke an assumption we rely on: it is fatal, never recovered from.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace sondrel {

// Logs at critical level, then aborts the process.
[[noreturn]] void fatalOverflow(std::string_view what);

[[nodiscard]] int64_t checkedAdd(int64_t lhs, int64_t rhs, std::string_view what);
[[nodiscard]] int64_t checkedSubtract(int64_t lhs, int64_t rhs, std::string_view what);
[[nodiscard]] int64_t checkedMultiply(int64_t lhs, int64_t rhs, std::string_view what);
[[nodiscard]] int64_t toInt64Checked(uint64_t value, std::string_view what);
[[nodiscard]] uint32_t toUInt32Checked(size_t value, std::string_view what);

}  // namespace sondrel
