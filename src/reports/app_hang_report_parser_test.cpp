#include "reports/app_hang_report_parser.h"

#include <gtest/gtest.h>

#include "test_support/log_capture.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

uint64_t durationOf(const std::string& value) {
  AppHangReportParser parser;
  return parser.parseAppHangReportContent("Duration: " + value + "\n").duration;
}

TEST(AppHangReportParserDuration, SecondsBecomeWholeMilliseconds) {
  EXPECT_EQ(durationOf("3.5s"), 3500u);
  EXPECT_EQ(durationOf("22.56s"), 22560u);
  EXPECT_EQ(durationOf("0.0004s"), 0u);
  EXPECT_EQ(durationOf("12s"), 12000u);
}

TEST(AppHangReportParserDuration, AnythingButANumberWithItsUnitLetterChangesNothing) {
  for (const char* value : {"3.5 s", "", "s", "3.5", "abc 3s", "3.5 seconds", "1e400s", "3.5.1s", "3s5", "-2s"}) {
    EXPECT_EQ(durationOf(value), 0u) << value;
  }
  AppHangReportParser parser;
  EXPECT_EQ(parser.parseAppHangReportContent("Duration: 2s\nDuration: 3.5 s\n").duration, 2000u);
  EXPECT_EQ(parser.parseAppHangReportContent("Duration: 2s\nDuration: 4s\n").duration, 4000u);
}

TEST(AppHangReportParserHeader, OnlyTheBlockBeforeTheFirstSeparatorIsRead) {
  AppHangReportParser parser;
  const auto info = parser.parseAppHangReportContent(R"(Date/Time:        2021-07-22 14:06:09 -0700
Command:          Slack
Path:             /Applications/Slack.app/Contents/MacOS/Slack Helper
Version:          4.19.0 (6771)
Duration:         22.56s
Steps:            1000 (10ms sampling interval)
--------------------------------------------------
Path:             /System/Library/Other
Version:          9
Duration:         1s
)");
  EXPECT_EQ(info.appPath, "/Applications/Slack.app/Contents/MacOS/Slack Helper");
  EXPECT_EQ(info.application, "Slack Helper");
  EXPECT_EQ(info.version, "4.19.0 (6771)");
  EXPECT_EQ(info.duration, 22560u);
  EXPECT_EQ(info.publisher, "");
}

TEST(AppHangReportParserHeader, AReportWithoutAPathStillYieldsAnInfo) {
  AppHangReportParser parser;
  const auto info = parser.parseAppHangReportContent("Version: 1\nPath\n path: /x\n");
  EXPECT_EQ(info.application, "");
  EXPECT_EQ(info.appPath, "");
  EXPECT_EQ(info.version, "1");
  // Nothing carries over to the next report.
  const auto next = parser.parseAppHangReportContent("Duration: 1s\n");
  EXPECT_EQ(next.version, "");
}

TEST(AppHangReportParserFile, MissingFilesAreLoggedAndBundlesGiveThePublisher) {
  testing::TempFolder folder;
  testing::LogCapture logs;
  AppHangReportParser parser;
  EXPECT_FALSE(parser.parseAppHangReport(folder / "none.hang"));
  EXPECT_TRUE(logs.contains("Error: Hang report " + (folder / "none.hang") + " does not exist."));

  folder.write("Demo.app/Contents/Info.plist", R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>NSHumanReadableCopyright</key><string>Example</string></dict></plist>)");
  const auto executable = folder.write("Demo.app/Contents/MacOS/Demo", "binary");
  const auto report = folder.write("Demo.hang", "Path: " + executable + "\nDuration: 1s\n--------\n");
  const auto info = parser.parseAppHangReport(report);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->application, "Demo");
  EXPECT_EQ(info->publisher, "Example");
}

}  // namespace
}  // namespace sondrel
