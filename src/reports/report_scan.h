#pragma once
// One scan of the diagnostic-report folders, shared by the three report
// sources: list the candidates, compare them with the cached list of the
// previous scan, store the current list, and hand back the new paths.

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sondrel {

// Guards for folders that any local user can write while we read as root.
struct CandidateRules {
  // A report still being written is left for the next scan rather than read half-written.
  double minimumAgeSeconds = 2;
  uint64_t maxBytes = 64 * 1024 * 1024;
};

// Regular files directly in each folder whose names end in one of suffixes,
// folder by folder, names sorted within a folder. Hidden entries and
// folders are passed over; symbolic links and files over the size cap are
// skipped with a log line; files modified less than minimumAgeSeconds
// before nowSeconds are left out.
[[nodiscard]] std::vector<std::string> listReportCandidates(const std::vector<std::string>& suffixes,
                                                            const std::vector<std::string>& folders,
                                                            double nowSeconds, const CandidateRules& rules = {});

// The candidates that the previous list does not hold, in order. With
// foldRetired, a candidate whose path with "/Retired/" turned into "/" is in
// the previous list is old too. No previous list, or an empty one: all are new.
[[nodiscard]] std::vector<std::string> selectNewReports(const std::vector<std::string>& candidates,
                                                        const std::optional<std::vector<std::string>>& previous,
                                                        bool foldRetired);

// Every "/Retired/" of path replaced with "/".
[[nodiscard]] std::string foldRetiredFolder(std::string_view path);


// The system report folder, then each local user's own, built afresh each call.
[[nodiscard]] std::vector<std::string> getCrashReportDirs();

using ReportFolders = std::function<std::vector<std::string>()>;

struct ReportScanSettings {
  std::vector<std::string> suffixes;
  ReportFolders folders;
  std::string cacheFile;
  bool foldRetired = false;
  CandidateRules rules;
};

// Steps 1 to 4 of a scan: the paths to parse. The cache is rewritten with
// the candidates before anything is parsed; no candidates leave it untouched.
[[nodiscard]] std::vector<std::string> scanForNewReports(const ReportScanSettings& settings, double nowSeconds);

// Seconds since 1970 on the system clock.
[[nodiscard]] double secondsSince1970();

}  // namespace sondrel
