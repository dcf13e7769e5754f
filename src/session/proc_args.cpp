#include "session/proc_args.h"

#include <cstring>

namespace sondrel {

std::optional<ProcArgs> parseProcArgs2(std::span<const uint8_t> buffer) {
  int32_t argc = 0;
  if (buffer.size() <= sizeof argc) return std::nullopt;
  std::memcpy(&argc, buffer.data(), sizeof argc);  // written in the machine's own byte order

  const auto* text = reinterpret_cast<const char*>(buffer.data());
  const size_t end = buffer.size();
  size_t at = sizeof argc;
  const auto* nul = static_cast<const char*>(std::memchr(text + at, '\0', end - at));
  const size_t pathEnd = nul ? static_cast<size_t>(nul - text) : end;
  ProcArgs parsed;
  parsed.path.assign(text + at, pathEnd - at);
  at = pathEnd;
  while (at < end && text[at] == '\0') ++at;
  while (argc > 0 && parsed.arguments.size() < static_cast<size_t>(argc) && at < end) {
    nul = static_cast<const char*>(std::memchr(text + at, '\0', end - at));
    if (nul == nullptr) break;  // an unterminated tail is not a whole argument
    parsed.arguments.emplace_back(text + at, static_cast<size_t>(nul - text) - at);
    at = static_cast<size_t>(nul - text) + 1;
  }
  return parsed;
}

}  // namespace sondrel
