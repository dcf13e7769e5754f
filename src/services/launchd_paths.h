#pragma once
// The fixed folders that hold launchd job property lists.

#include <array>
#include <string>
#include <vector>

namespace sondrel {

enum class LaunchdPaths {
  systemLaunchDaemonsDir,
  launchDaemonsDir,
  systemLaunchAgentsDir,
  launchAgentsDir,
  appleLaunchDaemonsDir,
  appleLaunchAgentsDir,
};

[[nodiscard]] constexpr const char* rawValue(LaunchdPaths path) {
  switch (path) {
    case LaunchdPaths::systemLaunchDaemonsDir: return "/System/Library/LaunchDaemons";
    case LaunchdPaths::launchDaemonsDir: return "/Library/LaunchDaemons";
    case LaunchdPaths::systemLaunchAgentsDir: return "/System/Library/LaunchAgents";
    case LaunchdPaths::launchAgentsDir: return "/Library/LaunchAgents";
    case LaunchdPaths::appleLaunchDaemonsDir: return "/Library/Apple/System/Library/LaunchDaemons";
    case LaunchdPaths::appleLaunchAgentsDir: return "/Library/Apple/System/Library/LaunchAgents";
  }
  return "";
}

inline constexpr std::array kAllLaunchdPaths = {
    LaunchdPaths::systemLaunchDaemonsDir, LaunchdPaths::launchDaemonsDir,      LaunchdPaths::systemLaunchAgentsDir,
    LaunchdPaths::launchAgentsDir,        LaunchdPaths::appleLaunchDaemonsDir, LaunchdPaths::appleLaunchAgentsDir,
};

// The six folders in their scanning order.
[[nodiscard]] inline std::vector<std::string> defaultLaunchdDirs() {
  std::vector<std::string> dirs;
  for (auto path : kAllLaunchdPaths) dirs.emplace_back(rawValue(path));
  return dirs;
}

}  // namespace sondrel
