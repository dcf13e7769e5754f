#include "frame/app_attributes.h"

#include <sys/stat.h>

#include "frame/plist_cache.h"

namespace sondrel::CommonUtils {

namespace {
bool isRegularFile(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}
}  // namespace

std::optional<std::string> findAppBundleFolder(const std::string& executablePath) {
  std::string folder = executablePath;
  for (;;) {
    const auto slash = folder.find_last_of('/');
    if (slash == std::string::npos || slash == 0) return std::nullopt;
    folder.resize(slash);
    if (isRegularFile(folder + "/Contents/Info.plist")) return folder;
  }
}

std::map<std::string, std::string> getAppAttributes(const std::vector<std::string>& keys,
                                                    const std::string& executablePath) {
  std::map<std::string, std::string> attributes;
  const auto bundle = findAppBundleFolder(executablePath);
  if (!bundle) return attributes;
  for (const auto& [key, value] : getPlistAttributes(keys, *bundle + "/Contents/Info.plist")) {
    if (const std::string* text = value.asString()) attributes.emplace(key, *text);
  }
  return attributes;
}

std::string getAppCopyright(const std::string& executablePath) {
  static constexpr const char* kCopyrightKey = "NSHumanReadableCopyright";
  auto attributes = getAppAttributes({kCopyrightKey}, executablePath);
  const auto found = attributes.find(kCopyrightKey);
  return found == attributes.end() ? std::string() : std::move(found->second);
}

}  // namespace sondrel::CommonUtils
