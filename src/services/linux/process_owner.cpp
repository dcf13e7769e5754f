#include "services/process_owner.h"

#include <string>

#include "frame/file_utils.h"

namespace sondrel {

std::optional<uint32_t> uidOfProcess(int32_t pid) {
  if (pid <= 0) return std::nullopt;
  // The status file is a few kilobytes; the cap only guards against surprises.
  constexpr size_t kMaxStatusBytes = 64 * 1024;
  const auto text = readFileCapped("/proc/" + std::to_string(pid) + "/status", kMaxStatusBytes);
  if (!text) return std::nullopt;
  return parseStatusUid(*text);
}

}  // namespace sondrel
