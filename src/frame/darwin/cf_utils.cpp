#include "frame/darwin/cf_utils.h"

#include <vector>

namespace sondrel {

std::optional<std::string> toUtf8(CFStringRef text) {
  if (text == nullptr) return std::nullopt;
  if (const char* direct = CFStringGetCStringPtr(text, kCFStringEncodingUTF8)) return std::string(direct);
  const CFIndex length = CFStringGetLength(text);
  const CFIndex capacity = CFStringGetMaximumSizeForEncoding(length, kCFStringEncodingUTF8) + 1;
  std::vector<char> buffer(static_cast<size_t>(capacity));
  if (!CFStringGetCString(text, buffer.data(), capacity, kCFStringEncodingUTF8)) return std::nullopt;
  return std::string(buffer.data());
}

}  // namespace sondrel
