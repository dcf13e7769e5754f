// The report parsers over real macOS samples (skipped when the samples are absent).

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "reports/app_hang_report_parser.h"
#include "reports/crash_report_parser.h"
#include "reports/panic_report_parser.h"

namespace sondrel {
namespace {

namespace fs = std::filesystem;

const fs::path kCorpus = SONDREL_CORPUS_DIR;

std::vector<fs::path> samples(const std::string& folder) {
  std::vector<fs::path> paths;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(kCorpus / folder, error)) {
    if (entry.is_regular_file()) paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

// Samples taken from other systems, kept in the corpus to check tolerance only.
bool isMacOSSample(const fs::path& path) { return path.filename().string().find("NOT-MACOS") == std::string::npos; }

#define SKIP_WITHOUT_CORPUS(folder)                                             \
  if (!fs::is_directory(kCorpus / (folder))) GTEST_SKIP() << "no corpus at " << kCorpus

TEST(ReportsCorpus, EveryMacOSCrashReportNamesItsApplicationAndTime) {
  SKIP_WITHOUT_CORPUS("crash-ips");
  CrashReportParser parser;
  size_t checked = 0;
  for (const auto* folder : {"crash-ips", "crash-text"}) {
    for (const auto& path : samples(folder)) {
      const auto info = parser.parseCrashReport(path.string());
      if (!isMacOSSample(path)) continue;
      ASSERT_TRUE(info) << path;
      EXPECT_FALSE(info->application.empty()) << path;
      EXPECT_FALSE(info->appPath.empty()) << path;
      EXPECT_GT(info->crashTime, 946684800u) << path;  // after 2000
      ++checked;
    }
  }
  EXPECT_GE(checked, 10u);
}

TEST(ReportsCorpus, BothRenderingsOfOneCrashAgreeOnPathAndTime) {
  SKIP_WITHOUT_CORPUS("crash-ips");
  CrashReportParser parser;
  size_t pairs = 0;
  for (const auto& ips : samples("crash-ips")) {
    const fs::path text = kCorpus / "crash-text" / (ips.stem().string() + ".crash");
    if (!fs::exists(text)) continue;
    const auto fromJson = parser.parseCrashReport(ips.string());
    const auto fromText = parser.parseCrashReport(text.string());
    ASSERT_TRUE(fromJson && fromText) << ips;
    EXPECT_EQ(fromJson->appPath, fromText->appPath) << ips;
    EXPECT_EQ(fromJson->crashTime, fromText->crashTime) << ips;
    ++pairs;
  }
  EXPECT_GE(pairs, 2u);
}

TEST(ReportsCorpus, FaultingModulesOfKnownCrashes) {
  SKIP_WITHOUT_CORPUS("crash-ips");
  CrashReportParser parser;
  // The crash happened inside the framework, not the tool that loaded it.
  const auto framework = parser.parseCrashReport(
      (kCorpus / "crash-ips/macsymbolicator_CrashingInAnotherTargetTest_macos12.4_x86_64.ips").string());
  ASSERT_TRUE(framework);
  EXPECT_EQ(framework->module, "AnotherTarget");
  // Every frame of the faulting thread is in dyld: the first one names it.
  const auto dyld = parser.parseCrashReport(
      (kCorpus / "crash-ips/readme_imageoptimizer_dyld_missing_macos14.7_x86_64_vm.ips").string());
  ASSERT_TRUE(dyld);
  EXPECT_EQ(dyld->modulePath, "/usr/lib/dyld");
}

TEST(ReportsCorpus, TheSpindumpHeaderReadsAsAHang) {
  SKIP_WITHOUT_CORPUS("hang");
  AppHangReportParser parser;
  const auto info = parser.parseAppHangReport((kCorpus / "hang/electron_Slack_spindump_macos10.15.7_x86_64.txt").string());
  ASSERT_TRUE(info);
  EXPECT_EQ(info->application, "Slack");
  EXPECT_EQ(info->appPath, "/Applications/Slack.app/Contents/MacOS/Slack");
  EXPECT_EQ(info->version, "4.19.0-nightly210608 (6771)");
  EXPECT_EQ(info->duration, 22560u);
}

TEST(ReportsCorpus, TheAppleSiliconLayoutPanicIsReadWhole) {
  SKIP_WITHOUT_CORPUS("panic-json");
  PanicReportParser parser;
  const auto info =
      parser.parsePanicReport((kCorpus / "panic-json/repo_AppleKeyStore-UAF_iPhone18,2_ios26.2.1_bug210_LARGE.ips").string());
  ASSERT_TRUE(info);
  EXPECT_EQ(info->process, "UAFTester");
  EXPECT_EQ(info->macosVersion, "23C71");
  EXPECT_EQ(info->version, "iPhone OS 26.2.1 (23C71)");
  EXPECT_EQ(info->timestamp, 1770344367u);  // 2026-02-05 21:19:27 -0500
  EXPECT_TRUE(info->panicReason.starts_with("Kernel tag check fault")) << info->panicReason;
  EXPECT_TRUE(info->stackTrace.starts_with("lr: 0xfffffe004fb6a4d0")) << info->stackTrace.substr(0, 80);
}

TEST(ReportsCorpus, NoParserFailsHardOnAnySample) {
  SKIP_WITHOUT_CORPUS("crash-ips");
  CrashReportParser crashes;
  AppHangReportParser hangs;
  PanicReportParser panics;
  size_t files = 0;
  for (const auto* folder : {"crash-ips", "crash-text", "hang", "panic-json", "plists", "bsm"}) {
    for (const auto& path : samples(folder)) {
      (void)crashes.parseCrashReport(path.string());
      (void)hangs.parseAppHangReport(path.string());
      const auto panic = panics.parsePanicReport(path.string());
      // Only the panic sample is a panic; the crash reports of the same JSON layout are not.
      EXPECT_EQ(panic.has_value(), std::string(folder) == "panic-json") << path;
      ++files;
    }
  }
  EXPECT_GT(files, 20u);
}

}  // namespace
}  // namespace sondrel
