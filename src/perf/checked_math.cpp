#include "perf/checked_math.h"

#include <cstdlib>
#include <limits>

#include "frame/logger.h"

namespace sondrel {

void fatalOverflow(std::string_view what) {
  Logger::logCritical("Fatal error: arithmetic overflow in {}", what);
  std::abort();
}

int64_t checkedAdd(int64_t lhs, int64_t rhs, std::string_view what) {
  int64_t result = 0;
  if (__builtin_add_overflow(lhs, rhs, &result)) fatalOverflow(what);
  return result;
}

int64_t checkedSubtract(int64_t lhs, int64_t rhs, std::string_view what) {
  int64_t result = 0;
  if (__builtin_sub_overflow(lhs, rhs, &result)) fatalOverflow(what);
  return result;
}

int64_t checkedMultiply(int64_t lhs, int64_t rhs, std::string_view what) {
  int64_t result = 0;
  if (__builtin_mul_overflow(lhs, rhs, &result)) fatalOverflow(what);
  return result;
}

int64_t toInt64Checked(uint64_t value, std::string_view what) {
  if (value > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) fatalOverflow(what);
  return static_cast<int64_t>(value);
}

uint32_t toUInt32Checked(size_t value, std::string_view what) {
  if (value > std::numeric_limits<uint32_t>::max()) fatalOverflow(what);
  return static_cast<uint32_t>(value);
}

}  // namespace sondrel
