#include "reports/report_scan.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <unordered_set>

#include "frame/file_utils.h"
#include "frame/logger.h"
#include "frame/owned.h"
#include "frame/plist_cache.h"
#include "frame/users.h"

namespace sondrel {

namespace {

constexpr std::string_view kSystemReportFolder = "/Library/Logs/DiagnosticReports";

}  // namespace

std::vector<std::string> listReportCandidates(const std::vector<std::string>& suffixes,
                                              const std::vector<std::string>& folders, double nowSeconds,
                                              const CandidateRules& rules) {
  std::vector<std::string> paths;
  for (const auto& folder : folders) {
    UniqueDir directory(::opendir(folder.c_str()));
    if (!directory) continue;
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(directory.get())) {
      const std::string_view name(entry->d_name);
      if (name.empty() || name.front() == '.') continue;
      if (std::any_of(suffixes.begin(), suffixes.end(), [&](const std::string& suffix) { return name.ends_with(suffix); })) {
        names.emplace_back(name);
      }
    }
    directory.reset();
    std::sort(names.begin(), names.end());
    const std::string prefix = folder.ends_with('/') ? folder : folder + "/";
    for (const auto& name : names) {
      std::string path = prefix + name;
      struct stat info {};
      if (::lstat(path.c_str(), &info) != 0) continue;  // gone since the listing
      if (S_ISLNK(info.st_mode)) {
        Logger::logWarning("Skipping report {}: it is a symbolic link", path);
        continue;
      }
      if (!S_ISREG(info.st_mode)) continue;
      if (static_cast<uint64_t>(info.st_size) > rules.maxBytes) {
        Logger::logWarning("Skipping report {}: {} bytes is more than the {} bytes read", path, info.st_size,
                           rules.maxBytes);
        continue;
      }
      if (std::fabs(nowSeconds - modificationSeconds(info)) < rules.minimumAgeSeconds) {
        Logger::logDebug("Leaving report {} for the next scan: it was modified just now", path);
        continue;
      }
      paths.push_back(std::move(path));
    }
  }
  return paths;
}

std::string foldRetiredFolder(std::string_view path) {
  static constexpr std::string_view kRetired = "/Retired/";
  std::string folded;
  folded.reserve(path.size());
  for (size_t at = 0; at < path.size();) {
    if (path.substr(at).starts_with(kRetired)) {
      folded += '/';
      at += kRetired.size();
    } else {
      folded += path[at++];
    }
  }
  return folded;
}

std::vector<std::string> selectNewReports(const std::vector<std::string>& candidates,
                                          const std::optional<std::vector<std::string>>& previous, bool foldRetired) {
  if (!previous || previous->empty()) return candidates;
  std::unordered_set<std::string_view> seen;
  seen.reserve(previous->size());
  for (const auto& path : *previous) seen.insert(path);
  std::vector<std::string> fresh;
  for (const auto& candidate : candidates) {
    if (seen.contains(candidate)) continue;
    if (foldRetired && candidate.find("/Retired/") != std::string::npos && seen.contains(foldRetiredFolder(candidate))) {
      continue;
    }
    fresh.push_back(candidate);
  }
  return fresh;
}

std::vector<std::string> getCrashReportDirs() {
  std::vector<std::string> folders{std::string(kSystemReportFolder)};
  for (const auto& account : CommonUtils::listUserAccounts()) {
    const std::string& home = account.home;
    if (home.empty()) continue;
    folders.push_back((home.ends_with('/') ? home.substr(0, home.size() - 1) : home) +
                      std::string(kSystemReportFolder));
  }
  return folders;
}

std::vector<std::string> scanForNewReports(const ReportScanSettings& settings, double nowSeconds) {
  const auto folders = settings.folders ? settings.folders() : std::vector<std::string>{};
  const auto candidates = listReportCandidates(settings.suffixes, folders, nowSeconds, settings.rules);
  if (candidates.empty()) return {};
  const auto previous = CommonUtils::loadCachedStringArray(settings.cacheFile);
  CommonUtils::cacheStringArray(candidates, settings.cacheFile);
  return selectNewReports(candidates, previous, settings.foldRetired);
}

double secondsSince1970() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace sondrel
