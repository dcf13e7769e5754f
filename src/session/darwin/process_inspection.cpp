#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>
#include <sys/param.h>

#include "frame/darwin/cf_utils.h"
#include "frame/logger.h"
#include "session/process_inspection.h"

namespace sondrel {

std::optional<OSVersion> readOSVersion() {
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
  SInt32 major = 0, minor = 0, bugfix = 0;
  if (Gestalt(gestaltSystemVersionMajor, &major) != noErr || Gestalt(gestaltSystemVersionMinor, &minor) != noErr ||
      Gestalt(gestaltSystemVersionBugFix, &bugfix) != noErr) {
    Logger::logError("PI_getOSVersion: Gestalt gave no version");
    return std::nullopt;
  }
#pragma clang diagnostic pop
  return OSVersion{static_cast<uint32_t>(major), static_cast<uint32_t>(minor), static_cast<uint32_t>(bugfix)};
}

std::optional<std::string> bundleExecutablePath(const std::string& folder) {
  CFOwned<CFURLRef> url(CFURLCreateFromFileSystemRepresentation(
      kCFAllocatorDefault, reinterpret_cast<const UInt8*>(folder.data()), static_cast<CFIndex>(folder.size()), true));
  if (!url) return std::nullopt;
  CFOwned<CFBundleRef> bundle(CFBundleCreate(kCFAllocatorDefault, url.get()));
  if (!bundle) return std::nullopt;
  CFOwned<CFURLRef> executable(CFBundleCopyExecutableURL(bundle.get()));
  if (!executable) return std::nullopt;
  CFOwned<CFURLRef> absolute(CFURLCopyAbsoluteURL(executable.get()));
  char path[MAXPATHLEN] = {};
  if (!absolute || !CFURLGetFileSystemRepresentation(absolute.get(), true, reinterpret_cast<UInt8*>(path), sizeof path)) {
    return std::nullopt;
  }
  return std::string(path);
}

}  // namespace sondrel
