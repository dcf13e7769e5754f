#pragma once
// The C boundary: nothing thrown inside crosses it, and C text arguments are
// turned into strings the way every export does it.

#include <exception>
#include <string>
#include <string_view>

#include "frame/logger.h"
#include "frame/utf8.h"

namespace sondrel {

// Runs body; anything it throws is logged with the export's name and swallowed.
template <typename Body>
void guardExport(std::string_view exportName, Body&& body) noexcept {
  try {
    body();
  } catch (const std::exception& error) {
    try {
      Logger::logError("{} failed: {}", exportName, error.what());
    } catch (...) {
    }
  } catch (...) {
    try {
      Logger::logError("{} failed", exportName);
    } catch (...) {
    }
  }
}

// Like guardExport, for exports that answer: fallback when body throws.
template <typename Result, typename Body>
Result guardQuery(std::string_view exportName, Result fallback, Body&& body) noexcept {
  Result result = fallback;
  guardExport(exportName, [&] { result = body(); });
  return result;
}

// A caller's text as a string: null, or bytes that are not UTF-8, give "".
[[nodiscard]] std::string utf8OrEmpty(const char* text);

// The caller's text as it stands, for log lines; "(null)" for null.
[[nodiscard]] std::string_view rawText(const char* text);

}  // namespace sondrel
