#pragma once
// Polls the report folders for application hang reports and hands each new
// one to the host as an app_hang_event_t.
// Thread contract: scans run on the timer's thread, one at a time; the
// parser is touched only there (or by a test calling the scan directly).

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "reports/app_hang_report_parser.h"
#include "reports/report_events_base.h"
#include "reports/report_scan.h"
#include "sondrel/sondrel.h"

namespace sondrel {

class AppHangEvents final : public ReportEventsBase<AppHangEventCallback> {
 public:
  static constexpr const char* kQueueLabel = "appHangEventsQueue";

  AppHangEvents(std::string cachePath, std::unique_ptr<AppHangReportParser> parser,
                std::chrono::nanoseconds interval = kDefaultReportInterval,
                ReportFolders folders = getCrashReportDirs, CandidateRules rules = {});

  [[nodiscard]] std::vector<HangInfo> collectNewHangInfos();
  void eventTimerCallback() override;

  const std::string hangReportType = "hang";
  const std::string cacheFileName = "hang.plist";

 private:
  std::unique_ptr<AppHangReportParser> parser;
};

}  // namespace sondrel
