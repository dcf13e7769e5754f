#include "reports/report_scan.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "frame/file_utils.h"
#include "frame/plist_cache.h"
#include "test_support/log_capture.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

using testing::LogCapture;
using testing::TempFolder;

constexpr double kLongAfter = 4102444800;  // 2100-01-01: every fixture file is old by then

TEST(ListReportCandidates, KeepsMatchingRegularFilesFolderByFolderInNameOrder) {
  TempFolder first, second;
  second.write("z.crash", "x");
  first.write("b.ips", "x");
  first.write("a.crash", "x");
  first.write("c.hang", "x");
  first.write(".hidden.crash", "x");
  first.write("notes.txt", "x");
  std::filesystem::create_directory(first / "folder.crash");
  const auto paths = listReportCandidates({"crash", "ips"}, {second.path(), first.path() + "/", first / "absent"},
                                          kLongAfter);
  EXPECT_EQ(paths, (std::vector<std::string>{second / "z.crash", first / "a.crash", first / "b.ips"}));
}

TEST(ListReportCandidates, SkipsLinksAndOversizedFilesWithALogLine) {
  TempFolder folder, elsewhere;
  LogCapture logs;
  const auto target = elsewhere.write("secret.crash", "x");
  ASSERT_EQ(::symlink(target.c_str(), (folder / "planted.crash").c_str()), 0);
  folder.write("big.crash", std::string(11, 'x'));
  folder.write("small.crash", std::string(10, 'x'));
  CandidateRules rules;
  rules.maxBytes = 10;
  const auto paths = listReportCandidates({"crash"}, {folder.path()}, kLongAfter, rules);
  EXPECT_EQ(paths, std::vector<std::string>{folder / "small.crash"});
  EXPECT_TRUE(logs.contains("Skipping report " + (folder / "planted.crash") + ": it is a symbolic link"));
  EXPECT_TRUE(logs.containsPrefix("Skipping report " + (folder / "big.crash") + ": 11 bytes"));
}

TEST(ListReportCandidates, LeavesJustWrittenReportsForTheNextScan) {
  TempFolder folder;
  const auto path = folder.write("new.crash", "half");
  struct stat info {};
  ASSERT_EQ(::stat(path.c_str(), &info), 0);
  const double written = static_cast<double>(info.st_mtime);
  EXPECT_TRUE(listReportCandidates({"crash"}, {folder.path()}, written + 1).empty());
  EXPECT_EQ(listReportCandidates({"crash"}, {folder.path()}, written + 3).size(), 1u);
}

TEST(SelectNewReports, ComparesExactPathsAndFoldsRetiredOnlyWhenAsked) {
  const std::vector<std::string> candidates{"/R/a.panic", "/R/Retired/b.panic", "/R/c.panic", "/R/A.panic"};
  EXPECT_EQ(selectNewReports(candidates, std::nullopt, true), candidates);
  EXPECT_EQ(selectNewReports(candidates, std::vector<std::string>{}, true), candidates);
  const std::vector<std::string> previous{"/R/a.panic", "/R/b.panic"};
  EXPECT_EQ(selectNewReports(candidates, previous, true),
            (std::vector<std::string>{"/R/c.panic", "/R/A.panic"}));
  EXPECT_EQ(selectNewReports(candidates, previous, false),
            (std::vector<std::string>{"/R/Retired/b.panic", "/R/c.panic", "/R/A.panic"}));
  // One pass, like a plain replace: the second "Retired/" lost its slash to the first.
  EXPECT_EQ(foldRetiredFolder("/x/Retired/Retired/y/Retired/z"), "/x/Retired/y/z");
}

TEST(ScanForNewReports, CachesEveryCandidateAndKeepsTheListWhenAllAreGone) {
  TempFolder reports, cache;
  const auto a = reports.write("a.crash", "x");
  const auto b = reports.write("b.crash", "x");
  ReportScanSettings settings;
  settings.suffixes = {"crash"};
  settings.folders = [&] { return std::vector<std::string>{reports.path()}; };
  settings.cacheFile = cacheFilePath(cache / "sub", "crash.plist");

  EXPECT_EQ(scanForNewReports(settings, kLongAfter), (std::vector<std::string>{a, b}));
  EXPECT_EQ(CommonUtils::loadCachedStringArray(settings.cacheFile), (std::vector<std::string>{a, b}));
  EXPECT_TRUE(scanForNewReports(settings, kLongAfter).empty());

  // Every report deleted: nothing to do, and the cache keeps the old list...
  std::filesystem::remove(a);
  std::filesystem::remove(b);
  EXPECT_TRUE(scanForNewReports(settings, kLongAfter).empty());
  EXPECT_EQ(CommonUtils::loadCachedStringArray(settings.cacheFile), (std::vector<std::string>{a, b}));
  // ...so a report that reappears under an old path is not new.
  reports.write("a.crash", "x");
  EXPECT_TRUE(scanForNewReports(settings, kLongAfter).empty());
  EXPECT_EQ(CommonUtils::loadCachedStringArray(settings.cacheFile), (std::vector<std::string>{a}));
}

TEST(ScanForNewReports, AnUnreadableCacheMakesEveryCandidateNew) {
  TempFolder reports, cache;
  const auto a = reports.write("a.crash", "x");
  ReportScanSettings settings;
  settings.suffixes = {"crash"};
  settings.folders = [&] { return std::vector<std::string>{reports.path()}; };
  settings.cacheFile = cache.write("crash.plist", "not a property list");
  EXPECT_EQ(scanForNewReports(settings, kLongAfter), std::vector<std::string>{a});
}

TEST(ReportFolderPaths, CacheFileAndFolderListFollowTheirRules) {
  EXPECT_EQ(cacheFilePath("", "crash.plist"), "crash.plist");
  EXPECT_EQ(cacheFilePath("/var/cache/", "hang.plist"), "/var/cache/hang.plist");
  EXPECT_EQ(cacheFilePath("/var/cache", "hang.plist"), "/var/cache/hang.plist");
  const auto folders = getCrashReportDirs();
  ASSERT_FALSE(folders.empty());
  EXPECT_EQ(folders.front(), "/Library/Logs/DiagnosticReports");
  for (size_t i = 1; i < folders.size(); ++i) {
    EXPECT_TRUE(folders[i].ends_with("/Library/Logs/DiagnosticReports")) << folders[i];
    EXPECT_FALSE(folders[i].starts_with("//")) << folders[i];
  }
}

}  // namespace
}  // namespace sondrel
