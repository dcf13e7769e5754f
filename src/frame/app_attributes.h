#pragma once
// Attributes of the application bundle that holds an executable, read from
// the bundle's Contents/Info.plist.

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sondrel::CommonUtils {

// The nearest folder above executablePath that is laid out as an application
// bundle (it has Contents/Info.plist), or nothing.
[[nodiscard]] std::optional<std::string> findAppBundleFolder(const std::string& executablePath);

// The text values of keys in that bundle's Info.plist; empty when the path is
// in no bundle. Keys that are missing or not text are left out.
[[nodiscard]] std::map<std::string, std::string> getAppAttributes(const std::vector<std::string>& keys,
                                                                  const std::string& executablePath);

// The ownership notice ("NSHumanReadableCopyright") of the bundle that holds
// executablePath, which reports give as an application's publisher; empty
// when there is none.
[[nodiscard]] std::string getAppCopyright(const std::string& executablePath);

}  // namespace sondrel::CommonUtils
