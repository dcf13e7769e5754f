#pragma once
// Polls the report folders for application crash reports and hands each new
// one to the host as an app_crash_event_t.
// Thread contract: scans run on the timer's thread, one at a time; the
// parser is touched only there (or by a test calling the scan directly).

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "reports/crash_report_parser.h"
#include "reports/report_events_base.h"
#include "reports/report_scan.h"
#include "sondrel/sondrel.h"

namespace sondrel {

// The record for one crash: fixed arrays filled by bounded copies.
[[nodiscard]] app_crash_event_t makeAppCrashEvent(const CrashInfo& info);

class AppCrashEvents final : public ReportEventsBase<AppCrashEventCallback> {
 public:
  static constexpr const char* kQueueLabel = "appCrashEventsQueue";

  AppCrashEvents(std::string cachePath, std::unique_ptr<CrashReportParser> parser,
                 std::chrono::nanoseconds interval = kDefaultReportInterval,
                 ReportFolders folders = getCrashReportDirs, CandidateRules rules = {});

  [[nodiscard]] std::vector<CrashInfo> collectNewCrashInfos();
  void eventTimerCallback() override;

  const std::string cacheFileName = "crash.plist";

 private:
  std::unique_ptr<CrashReportParser> parser;
};

}  // namespace sondrel
