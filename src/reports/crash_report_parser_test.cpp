#include "reports/crash_report_parser.h"

#include <gtest/gtest.h>

#include <string>

#include "test_support/log_capture.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

using testing::LogCapture;
using testing::TempFolder;

// A JSON report as the system writes it: the header on one line, the body after.
std::string ipsReport(const std::string& body,
                      const std::string& header = R"({"app_name":"Demo","bug_type":"309","app_version":"1.2"})") {
  return header + "\n" + body;
}

std::optional<CrashInfo> parseIps(const std::string& body) {
  CrashReportParser parser;
  return parser.parseCrashReportContent("/reports/Demo.ips", ipsReport(body));
}

TEST(CrashReportParserJson, FaultingModuleSkipsSystemLibrariesAndUnusableFrames) {
  LogCapture logs;
  // Index 7 is out of range and the frame without an index is skipped; both
  // must not end the walk. Index 1 is under /usr/lib/, so image 0 wins.
  const auto info = parseIps(R"({"procPath":"/Applications/Demo.app/Contents/MacOS/Demo","faultingThread":1,
    "threads":[{"frames":[{"imageIndex":2}]},
               {"frames":[{"imageOffset":12},{"imageIndex":7},{"imageIndex":1},{"imageIndex":-1},{"imageIndex":0},{"imageIndex":2}]}],
    "usedImages":[{"name":"Demo","path":"/Applications/Demo.app/Contents/MacOS/Demo","CFBundleShortVersionString":"1.2"},
                  {"name":"libsystem_kernel.dylib","path":"/usr/lib/system/libsystem_kernel.dylib"},
                  {"name":"AppKit","path":"/System/Library/Frameworks/AppKit.framework/Versions/C/AppKit"}]})");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->application, "Demo");
  EXPECT_EQ(info->module, "Demo");
  EXPECT_EQ(info->modulePath, "/Applications/Demo.app/Contents/MacOS/Demo");
  EXPECT_EQ(info->moduleVersion, "1.2");
  // The module is the application's own binary: its failed signature lookup
  // is still logged for each of the two time stamps.
  EXPECT_EQ(logs.count("Failed to find any file at /Applications/Demo.app/Contents/MacOS/Demo"), 2u);
}

TEST(CrashReportParserJson, AllSystemFramesKeepTheFirstCountedImage) {
  const auto info = parseIps(R"({"faultingThread":0,
    "threads":[{"frames":[{"imageIndex":5},{"imageIndex":1},{"imageIndex":0}]}],
    "usedImages":[{"name":"dyld","path":"/usr/lib/dyld"},{"name":"libc++.1.dylib","path":"/usr/lib/libc++.1.dylib"}]})");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->module, "libc++.1.dylib");
  EXPECT_EQ(info->modulePath, "/usr/lib/libc++.1.dylib");
  EXPECT_EQ(info->moduleVersion, "");
}

TEST(CrashReportParserJson, MissingOrMistypedFaultInformationLeavesTheModuleEmpty) {
  for (const std::string& body : {
           std::string(R"({"threads":[{"frames":[{"imageIndex":0}]}],"usedImages":[{"name":"X","path":"/X"}]})"),
           std::string(R"({"faultingThread":"0","threads":[{"frames":[{"imageIndex":0}]}],"usedImages":[{"name":"X"}]})"),
           std::string(R"({"faultingThread":3,"threads":[{"frames":[{"imageIndex":0}]}],"usedImages":[{"name":"X"}]})"),
           std::string(R"({"faultingThread":0,"threads":[{"frames":[{"imageIndex":0}]}],"usedImages":{"name":"X"}})")}) {
    const auto info = parseIps(body);
    ASSERT_TRUE(info) << body;
    EXPECT_EQ(info->module, "") << body;
    EXPECT_EQ(info->modulePath, "") << body;
    EXPECT_EQ(info->moduleTimeStamp, 0u) << body;
  }
}

TEST(CrashReportParserJson, HeaderKeysAreReadFromEveryBlockAndLaterBlocksWin) {
  const auto info = parseIps(
      R"({"app_name":"Body Name","procPath":"/Applications/Demo.app/Contents/MacOS/Demo","userID":0,
          "captureTime":"2022-08-05 13:24:19.5312 +0200"})");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->application, "Body Name");
  EXPECT_EQ(info->version, "1.2");
  EXPECT_EQ(info->appPath, "/Applications/Demo.app/Contents/MacOS/Demo");
  EXPECT_EQ(info->user, "root");
  EXPECT_EQ(info->crashTime, 1659698659u);
}

TEST(CrashReportParserJson, UnknownUserAndBadDatesLeaveTheirFieldsEmpty) {
  const auto info = parseIps(R"({"userID":4000000123,"captureTime":"yesterday"})");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->user, "");
  EXPECT_EQ(info->crashTime, 0u);
  const auto fractional = parseIps(R"({"userID":0.5})");
  ASSERT_TRUE(fractional);
  EXPECT_EQ(fractional->user, "");
}

TEST(CrashReportParserJson, HowTheBlocksAreLaidOutDoesNotChangeTheResult) {
  const std::string header = R"({"app_name":"Demo","app_version":"1.2"})";
  const std::string body =
      R"({"procPath":"/Applications/Demo.app/Contents/MacOS/Demo","faultingThread":0,"threads":[{"frames":[{"imageIndex":0}]}],
          "usedImages":[{"name":"Demo","path":"/Applications/Demo.app/Contents/MacOS/Demo"}]})";
  CrashReportParser parser;
  const auto asWritten = parser.parseCrashReportContent("/r/Demo.ips", header + "\n" + body + "\n");
  ASSERT_TRUE(asWritten);
  for (const std::string& layout : {header + body, "\n " + header + "\r\n\n" + body, header + "\n" + body + "\n}"}) {
    const auto other = parser.parseCrashReportContent("/r/Demo.ips", layout);
    ASSERT_TRUE(other) << layout;
    EXPECT_EQ(other->application, asWritten->application);
    EXPECT_EQ(other->version, "1.2");
    EXPECT_EQ(other->appPath, asWritten->appPath);
    EXPECT_EQ(other->module, "Demo");
  }
}

TEST(CrashReportParserJson, BrokenBlocksAreLoggedAndTheRestStillCounts) {
  LogCapture logs;
  CrashReportParser parser;
  const auto info = parser.parseCrashReportContent(
      "/r/Demo.ips", "{\"app_name\":\"Demo\"}\n{\"a\": [1,,2]}\n{\"app_version\":\"3\"}");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->version, "3");
  EXPECT_TRUE(logs.contains("Error: Exception happened when parsing panic attributes."));

  logs.clear();
  EXPECT_FALSE(parser.parseCrashReportContent("/r/Demo.ips", "not json at all"));
  EXPECT_TRUE(logs.contains("Cannot parse the report."));
  EXPECT_TRUE(logs.contains("Did not parse the crash report successfully."));
}

TEST(CrashReportParserJson, JsonUnderACrashNameIsReadAsText) {
  LogCapture logs;
  CrashReportParser parser;
  EXPECT_FALSE(parser.parseCrashReportContent("/r/Demo.crash", ipsReport("{\"procPath\":\"/x\"}")));
  EXPECT_TRUE(logs.contains("Did not parse the crash report successfully."));
  // ...and counts when its text holds an Identifier line after all.
  const auto info = parser.parseCrashReportContent("/r/Demo.crash", ipsReport("{}\nIdentifier: Demo\n"));
  ASSERT_TRUE(info);
  EXPECT_EQ(info->application, "Demo");
}

constexpr const char* kTextReport = R"(
Process:               Demo [1710]
Path:                  /Applications/Demo.app/Contents/MacOS/Demo
Identifier:            com.example.demo
Version:               1.2 (34)
Code Type:             X86-64 (Native)
User ID:               0

Date/Time:             2022-08-05 13:24:19.5312 +0200
OS Version:            macOS 12.4 (21F79)

Thread 0:: Dispatch queue: com.apple.main-thread
0   Helper                        0x00007ff80a1b2c3d other + 1

Thread 1 Crashed:
0   libsystem_kernel.dylib        0x00007ff80a1b2c3d __pthread_kill + 10
1   Unlisted                      0x000000010f0bbf5c f + 28
2   com.example.Kit               0x000000010f0bbf5c main + 28
3   com.example.demo              0x000000010f0bbf5c start + 1
Thread 1 crashed with X86 Thread State (64-bit):
  rax: 0x0000000000000000  rbx: 0x0000000000000001

Binary Images:
       0x10f0b8000 -        0x10f0bbfff +com.example.demo (1.2 - 34) <01D2A9D5-1F8A-35C8-9228-7C7CCA13C5FC> /Applications/Demo.app/Contents/MacOS/Demo
       0x10f0c0000 -        0x10f0cffff  com.example.Kit (2.0) <11D2A9D5-1F8A-35C8-9228-7C7CCA13C5FC> /Applications/Demo.app/Contents/Frameworks/Kit.framework/Kit
    0x7ff80a1a9000 -     0x7ff80a1e0fff  libsystem_kernel.dylib (8020.121.3) <AB8B2B4A-5C6E-3A40-8F3B-6B3E1A0B6B43> /usr/lib/system/libsystem_kernel.dylib
       0x10f0d0000 -        0x10f0dffff  unnamed (x) <>
)";

TEST(CrashReportParserText, ReadsTheHeaderAndWalksTheCrashedThreadOnly) {
  LogCapture logs;
  CrashReportParser parser;
  const auto info = parser.parseCrashReportContent("/r/Demo_2022.crash", kTextReport);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->application, "com.example.demo");
  EXPECT_EQ(info->appPath, "/Applications/Demo.app/Contents/MacOS/Demo");
  EXPECT_EQ(info->version, "1.2 (34)");
  EXPECT_EQ(info->user, "root");
  EXPECT_EQ(info->crashTime, 1659698659u);
  // Frame 0 is in /usr/lib/, frame 1 names no listed image, frame 2 wins;
  // the other thread's Helper frame is never looked at.
  EXPECT_EQ(info->module, "com.example.Kit");
  EXPECT_EQ(info->moduleVersion, "2.0");
  EXPECT_EQ(info->modulePath, "/Applications/Demo.app/Contents/Frameworks/Kit.framework/Kit");
  EXPECT_TRUE(logs.contains("failed to parse binary info for (0x10f0d0000 -        0x10f0dffff  unnamed (x) <>)"));
}

TEST(CrashReportParserText, OnlySystemImagesInTheCrashedThreadNameTheFirst) {
  CrashReportParser parser;
  const auto info = parser.parseCrashReportContent("/r/x.crash", R"(Identifier: demo
Thread 0 Crashed:: Dispatch queue: com.apple.main-thread
0   libsystem_kernel.dylib  0x1 __pthread_kill + 10
1   libc++.1.dylib          0x2 abort + 1
Binary Images:
0x1000 - 0x1fff libc++.1.dylib (1300.23) <AB8B2B4A-5C6E-3A40-8F3B-6B3E1A0B6B43> /usr/lib/libc++.1.dylib
0x2000 - 0x2fff libsystem_kernel.dylib (8020) <AB8B2B4A-5C6E-3A40-8F3B-6B3E1A0B6B44> /usr/lib/system/libsystem_kernel.dylib
)");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->module, "libsystem_kernel.dylib");
  EXPECT_EQ(info->moduleVersion, "8020");
}

TEST(CrashReportParserText, KeepsOnlyTheKnownHeaderKeysAndNeedsAnIdentifier) {
  LogCapture logs;
  CrashReportParser parser;
  const auto info = parser.parseCrashReportContent("/r/x.crash", "Identifier :  demo  \r\nVersions: 9\r\nVersion:\n");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->application, "demo");
  EXPECT_EQ(info->version, "");
  EXPECT_FALSE(parser.parseCrashReportContent("/r/x.crash", "Process: demo\nPath: /x\n"));
  EXPECT_TRUE(logs.contains("Did not parse the crash report successfully."));
}

TEST(CrashReportParserFile, MissingUnreadableAndReusedReports) {
  TempFolder folder;
  LogCapture logs;
  CrashReportParser parser;
  const std::string missing = folder / "gone.crash";
  EXPECT_FALSE(parser.parseCrashReport(missing));
  EXPECT_TRUE(logs.contains("Error: Crash report " + missing + " does not exist."));

  const auto invalid = folder.write("bad.crash", "Identifier: \xff\xfe demo\n");
  EXPECT_FALSE(parser.parseCrashReport(invalid));
  EXPECT_TRUE(logs.contains("Error: Failed to load the report"));

  const auto first = parser.parseCrashReport(folder.write("a.crash", kTextReport));
  ASSERT_TRUE(first);
  const auto second = parser.parseCrashReport(folder.write("b.crash", "Identifier: other\n"));
  ASSERT_TRUE(second);
  EXPECT_EQ(second->application, "other");
  EXPECT_EQ(second->appPath, "");
  EXPECT_EQ(second->module, "");
  EXPECT_EQ(second->crashTime, 0u);
}

TEST(CrashReportParserFile, PublisherComesFromTheBundleThatHoldsTheExecutable) {
  TempFolder folder;
  folder.write("Demo.app/Contents/Info.plist", R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>NSHumanReadableCopyright</key><string>© 2024 Example Ltd.</string></dict></plist>)");
  const auto executable = folder.write("Demo.app/Contents/MacOS/Demo", "binary");
  CrashReportParser parser;
  const auto info = parser.parseCrashReportContent("/r/x.ips", ipsReport("{\"procPath\":\"" + executable + "\"}"));
  ASSERT_TRUE(info);
  EXPECT_EQ(info->publisher, "© 2024 Example Ltd.");
}

}  // namespace
}  // namespace sondrel
