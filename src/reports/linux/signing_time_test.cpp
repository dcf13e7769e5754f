#include "reports/signing_time.h"

#include <gtest/gtest.h>

#include "reports/crash_report_parser.h"
#include "test_support/log_capture.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

// Linux code carries no signature: the static-code step fails for every file
// that exists, and the time stamps of a report stay 0.
TEST(SigningTimeLinux, EveryStepFailsWithItsOwnLine) {
  testing::TempFolder folder;
  testing::LogCapture logs;
  const auto executable = folder.write("Demo", "binary");
  EXPECT_EQ(retrieveTimeStamp(executable), 0u);
  EXPECT_TRUE(logs.contains("Failed to create sec static code for " + executable));
  EXPECT_EQ(retrieveTimeStamp(folder / "missing"), 0u);
  EXPECT_TRUE(logs.contains("Failed to find any file at " + (folder / "missing")));

  CrashReportParser parser;
  logs.clear();
  const auto info = parser.parseCrashReportContent(
      "/r/x.ips", "{\"app_name\":\"Demo\"}\n{\"procPath\":\"" + executable + "\"}");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->appTimeStamp, 0u);
  EXPECT_EQ(logs.count("Failed to create sec static code for " + executable), 1u);
}

}  // namespace
}  // namespace sondrel
