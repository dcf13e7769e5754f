// The PI_ exports: process inspection for the host, in plain C types.

#include <cstdlib>
#include <cstring>

#include "frame/export_guard.h"
#include "frame/logger.h"
#include "session/process_inspection.h"
#include "session/process_table.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

namespace {
// Copies text with its NUL when it fits the caller's buffer.
bool copyOut(const std::string& text, char* out, size_t capacity) {
  if (text.size() + 1 > capacity) return false;
  std::memcpy(out, text.c_str(), text.size() + 1);
  return true;
}
}  // namespace

extern "C" {

SONDREL_EXPORT bool PI_getOSVersion(pi_os_version_t* version) {
  return guardQuery("PI_getOSVersion", false, [&] {
    if (version == nullptr) return false;
    const auto found = readOSVersion();
    if (!found) return false;
    version->majorVersion = found->major;
    version->minorVersion = found->minor;
    version->bugfixVersion = found->bugfix;
    return true;
  });
}

SONDREL_EXPORT bool PI_enumerateProcesses(uint32_t** pids, uint32_t* count) {
  return guardQuery("PI_enumerateProcesses", false, [&] {
    if (pids == nullptr || count == nullptr) return false;
    const auto listed = systemProcessTable().listPids();
    if (!listed) {
      Logger::logError("PI_enumerateProcesses: the process list could not be read");
      return false;
    }
    uint32_t* copy = nullptr;
    if (!listed->empty()) {
      copy = static_cast<uint32_t*>(std::malloc(listed->size() * sizeof(uint32_t)));
      if (copy == nullptr) return false;
      std::memcpy(copy, listed->data(), listed->size() * sizeof(uint32_t));
    }
    *pids = copy;
    *count = static_cast<uint32_t>(listed->size());
    return true;
  });
}

SONDREL_EXPORT bool PI_findAppBundle(const char* path, char* bundlePath, size_t capacity) {
  return guardQuery("PI_findAppBundle", false, [&] {
    if (path == nullptr || bundlePath == nullptr) return false;
    const auto bundle = findAppBundle(utf8OrEmpty(path));
    return bundle && copyOut(*bundle, bundlePath, capacity);
  });
}

SONDREL_EXPORT bool PI_which(const char* name, char* resolvedPath, size_t capacity) {
  return guardQuery("PI_which", false, [&] {
    if (name == nullptr || resolvedPath == nullptr) return false;
    const auto found = which(utf8OrEmpty(name));
    return found && copyOut(*found, resolvedPath, capacity);
  });
}

}  // extern "C"
