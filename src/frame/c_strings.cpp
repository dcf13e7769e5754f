#include "frame/c_strings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace sondrel::CommonUtils {

void copyCString(std::string_view from, char* to, size_t length) {
  if (to == nullptr || length == 0) return;
  std::memset(to, 0, length);
  const size_t count = std::min(from.size(), length - 1);
  if (count > 0) std::memcpy(to, from.data(), count);
}

char* makeCString(std::string_view from) {
  auto* copy = static_cast<char*>(std::malloc(from.size() + 1));
  if (copy == nullptr) return nullptr;
  if (!from.empty()) std::memcpy(copy, from.data(), from.size());
  copy[from.size()] = '\0';
  return copy;
}

}  // namespace sondrel::CommonUtils
