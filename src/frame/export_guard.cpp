#include "frame/export_guard.h"

#include "frame/utf8.h"

namespace sondrel {

std::string utf8OrEmpty(const char* text) {
  if (text == nullptr) return {};
  std::string_view view(text);
  return isValidUtf8(view) ? std::string(view) : std::string();
}

std::string_view rawText(const char* text) { return text == nullptr ? std::string_view("(null)") : text; }

}  // namespace sondrel
