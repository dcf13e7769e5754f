#include "reports/panic_report_parser.h"

#include <gtest/gtest.h>

#include <ctime>

#include "reports/report_date.h"
#include "test_support/log_capture.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

constexpr const char* kIntelText = R"(Anonymous UUID:       2E6D1A5C-2A7E-4B9E-9C1A-0E0A3E6B7C11

Sat Jun 16 14:12:49 2018

*** Panic Report ***
panic(cpu 2 caller 0xffffff801a2b3c4d): "a freed zone element has been modified"@/BuildRoot/Library/Caches/zalloc.c:503
Backtrace (CPU 2), Frame : Return Address
0xffffff91e1b3b9c0 : 0xffffff800a06c1a6
0xffffff91e1b3ba10 : 0xffffff800a193f84
      Kernel Extensions in backtrace:
         com.example.driver(1.0)[7D1F4C71-0F0E-3C58-9F4E-0E2E1A1C9B10]@0xffffff7f8c5a1000->0xffffff7f8c5a8fff

BSD process name corresponding to current thread: kernel_task
Boot args: chunklist-security-epoch=0

Mac OS version:
17F77

Kernel version:
Darwin Kernel Version 17.6.0: Tue May  8 15:22:16 PDT 2018; root:xnu-4570.61.1~1/RELEASE_X86_64
)";

std::string jsonEscaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '\n') {
      out += "\\n";
    } else if (c == '\t') {
      out += "\\t";
    } else if (c == '"') {
      out += "\\\"";
    } else {
      out += c;
    }
  }
  return out;
}

constexpr const char* kAppleSiliconText = R"(panic(cpu 4 caller 0xfffffe0013a8b5c8): watchdog timeout: no checkins from watchdogd in 90 seconds
Debugger message: panic
OS version: 22F66
Kernel version: Darwin Kernel Version 22.5.0
Panicked task 0xfffffe1b2c3d4e50: 212 pages, 9 threads: pid 123: WindowServer
Panicked thread: 0xfffffe1b2c3d4f00, backtrace: 0xfffffe3a1b2c3d40, tid: 912
		  lr: 0xfffffe0012d5c0a4  fp: 0xfffffe3a1b2c3da0
		  lr: 0xfffffe0012e8f4c8  fp: 0xfffffe3a1b2c3e10

last started kext at 1234: com.example.kext 1.0
)";

TEST(PanicReportParserText, ReadsTheOlderIntelLayout) {
  PanicReportParser parser;
  const auto info = parser.parsePanicReportContent("/r/Kernel-2018.panic", kIntelText, 1000);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->panicReason, "\"a freed zone element has been modified\"@/BuildRoot/Library/Caches/zalloc.c:503");
  EXPECT_EQ(info->process, "kernel_task");
  EXPECT_EQ(info->macosVersion, "17F77");
  EXPECT_EQ(info->version, "");
  EXPECT_EQ(info->stackTrace,
            "0xffffff91e1b3b9c0 : 0xffffff800a06c1a6\n0xffffff91e1b3ba10 : 0xffffff800a193f84\n"
            "Kernel Extensions in backtrace:\n"
            "com.example.driver(1.0)[7D1F4C71-0F0E-3C58-9F4E-0E2E1A1C9B10]@0xffffff7f8c5a1000->0xffffff7f8c5a8fff");
  EXPECT_EQ(info->timestamp, wholeSecondsOrZero(parsePanicDateLine("Sat Jun 16 14:12:49 2018")));
  EXPECT_EQ(info->crashPath, "/r/Kernel-2018.panic");
}

TEST(PanicReportParserText, WithoutADateTheFileTimeStandsIn) {
  PanicReportParser parser;
  const auto info = parser.parsePanicReportContent("/r/k.panic", kAppleSiliconText, 1234567.8);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->timestamp, 1234567u);
  EXPECT_EQ(info->process, "WindowServer");
  EXPECT_EQ(info->macosVersion, "22F66");
  EXPECT_EQ(info->stackTrace, "lr: 0xfffffe0012d5c0a4  fp: 0xfffffe3a1b2c3da0\nlr: 0xfffffe0012e8f4c8  fp: 0xfffffe3a1b2c3e10");
  EXPECT_EQ(info->panicReason, "watchdog timeout: no checkins from watchdogd in 90 seconds");
}

TEST(PanicReportParserJson, AppleSiliconLayoutTakesHeaderVersionAndDate) {
  PanicReportParser parser;
  const std::string report =
      R"j({"bug_type":"210","timestamp":"2023-06-20 10:00:00.00 +0000","os_version":"macOS 13.4 (22F66)","incident_id":"X"})j"
      "\n{\"build\":\"macOS 13.4 (22F66)\",\"product\":\"Mac14,2\",\"date\":\"2023-06-20 09:59:58.12 +0000\","
      "\"panicString\":\"" + jsonEscaped(kAppleSiliconText) + "\"}";
  const auto info = parser.parsePanicReportContent("/r/panic-full-2023.ips", report, 5);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->version, "macOS 13.4 (22F66)");
  EXPECT_EQ(info->macosVersion, "22F66");
  EXPECT_EQ(info->timestamp, 1687255200u);
  EXPECT_EQ(info->process, "WindowServer");
}

TEST(PanicReportParserJson, TheMacOSPanicTextWinsOverTheBridgeOne) {
  PanicReportParser parser;
  const std::string report = "{\"build\":\"macOS 12.3 (21E230)\",\"date\":\"2022-03-01 08:00:00.00 +0100\","
                             "\"panicString\":\"panic(cpu 0 caller 0x1): bridge watchdog\\n\","
                             "\"macOSPanicString\":\"" + jsonEscaped(kIntelText) + "\"}";
  const auto info = parser.parsePanicReportContent("/r/k.panic", report, 5);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->process, "kernel_task");
  EXPECT_EQ(info->version, "macOS 12.3 (21E230)");
  EXPECT_EQ(info->timestamp, 1646118000u);

  const std::string bridgeOnly = "{\"macOSPanicString\":\"no panic line here\",\"panicString\":\"panic(cpu 0 caller 0x1): bridge watchdog\"}";
  const auto bridge = parser.parsePanicReportContent("/r/k.panic", bridgeOnly, 5);
  ASSERT_TRUE(bridge);
  EXPECT_EQ(bridge->panicReason, "bridge watchdog");
  EXPECT_EQ(bridge->timestamp, 5u);
}

TEST(PanicReportParserJson, CrashReportsAndTextWithoutAPanicLineAreRejected) {
  testing::LogCapture logs;
  PanicReportParser parser;
  EXPECT_FALSE(parser.parsePanicReportContent("/r/App.ips", "{\"bug_type\":\"309\",\"app_name\":\"A\"}\n{}", 5));
  EXPECT_TRUE(logs.contains("/r/App.ips is not a panic report: bug type 309"));
  EXPECT_FALSE(parser.parsePanicReportContent("/r/k.panic", "{\"bug_type\":\"210\",\"panicString\":\"nothing\"}", 5));
  EXPECT_FALSE(parser.parsePanicReportContent("/r/k.panic", "just some text\n", 5));
  EXPECT_TRUE(logs.contains("/r/k.panic is not a panic report: it holds no panic line"));
  EXPECT_FALSE(parser.parsePanicReportContent("/r/k.panic", "{\"panicString\": [", 5));
}

TEST(PanicReportParserFile, MissingFileIsLoggedAndAFileIsRead) {
  testing::TempFolder folder;
  testing::LogCapture logs;
  PanicReportParser parser;
  EXPECT_FALSE(parser.parsePanicReport(folder / "none.panic"));
  EXPECT_TRUE(logs.contains("Error: Panic report " + (folder / "none.panic") + " does not exist."));
  const auto info = parser.parsePanicReport(folder.write("k.panic", kAppleSiliconText));
  ASSERT_TRUE(info);
  const auto now = static_cast<uint64_t>(std::time(nullptr));
  EXPECT_NEAR(static_cast<double>(info->timestamp), static_cast<double>(now), 60);
}

}  // namespace
}  // namespace sondrel
