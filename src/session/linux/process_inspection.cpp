#include <sys/stat.h>
#include <sys/utsname.h>

#include "frame/file_utils.h"
#include "frame/logger.h"
#include "frame/plist_cache.h"
#include "session/process_inspection.h"

namespace sondrel {

std::optional<OSVersion> readOSVersion() {
  // The distribution's version is what a host compares, as it does macOS's;
  // a system without os-release falls back on the kernel's release.
  for (const char* file : {"/etc/os-release", "/usr/lib/os-release"}) {
    struct stat info {};
    if (::stat(file, &info) != 0) continue;
    if (const auto text = readFileCapped(file, 64 * 1024)) {
      if (const auto id = parseOsReleaseVersionId(*text)) {
        if (auto version = parseVersionTriple(*id)) return version;
      }
    }
  }
  utsname names{};
  if (::uname(&names) == 0) {
    if (auto version = parseVersionTriple(names.release)) return version;
  }
  Logger::logError("PI_getOSVersion: neither os-release nor uname gave a version");
  return std::nullopt;
}

// Linux has no bundle loader; an application bundle copied here keeps macOS's layout.
std::optional<std::string> bundleExecutablePath(const std::string& folder) {
  const std::string infoPlist = folder + "/Contents/Info.plist";
  struct stat info {};
  if (::lstat(infoPlist.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  for (const auto& [key, value] : CommonUtils::getPlistAttributes({"CFBundleExecutable"}, infoPlist)) {
    const std::string* name = value.asString();
    if (key == "CFBundleExecutable" && name != nullptr && !name->empty()) return folder + "/Contents/MacOS/" + *name;
  }
  return std::nullopt;
}

}  // namespace sondrel
