#pragma once
// The stateless queries behind the PI_ exports: operating-system version,
// the application bundle that holds an executable, and the executable search.
// Any thread may call them.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace sondrel {

struct OSVersion {
  uint32_t major = 0;
  uint32_t minor = 0;
  uint32_t bugfix = 0;
};

// The running system's version; nothing when it can't be read.
[[nodiscard]] std::optional<OSVersion> readOSVersion();

// "12", "22.04.3", "6.1.0-18-amd64": up to three leading dot-separated numbers;
// nothing when the text does not start with a number.
[[nodiscard]] std::optional<OSVersion> parseVersionTriple(std::string_view text);

// The VERSION_ID of an os-release file, unquoted.
[[nodiscard]] std::optional<std::string> parseOsReleaseVersionId(std::string_view text);

// What a folder opened as a bundle names as its executable, if anything.
using BundleExecutableLookup = std::function<std::optional<std::string>(const std::string& folder)>;

// The platform's lookup (macOS: CoreFoundation bundles; elsewhere the
// Contents/Info.plist layout of an application bundle).
[[nodiscard]] std::optional<std::string> bundleExecutablePath(const std::string& folder);

// Tries the path itself and then each parent folder as a bundle whose
// executable is exactly path; stops before "/" or an empty path.
[[nodiscard]] std::optional<std::string> findAppBundle(const std::string& path,
                                                      const BundleExecutableLookup& lookup = bundleExecutablePath);

// The path with its last component removed ("/a/b" to "/a", "/a" to "/", "a" to "").
[[nodiscard]] std::string removingLastPathComponent(std::string_view path);

// The first folder of searchPath (':'-separated) holding an executable
// regular file called name. Empty entries are skipped: for a privileged host
// the current folder is no place to pick programs from.
[[nodiscard]] std::optional<std::string> which(std::string_view name, const std::optional<std::string>& searchPath,
                                               const std::function<bool(const std::string&)>& isExecutableFile);

// which() over this process's PATH and the file system.
[[nodiscard]] std::optional<std::string> which(std::string_view name);

}  // namespace sondrel
