#pragma once
// Polls the system report folders for kernel panic reports and hands each
// new one to the host as a system_crash_event_t.
// Thread contract: scans run on the timer's thread, one at a time; the
// parser is touched only there (or by a test calling the scan directly).

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "reports/panic_report_parser.h"
#include "reports/report_events_base.h"
#include "reports/report_scan.h"
#include "sondrel/sondrel.h"

namespace sondrel {

// The record for one panic: heap copies, released with freeSystemCrashEvent.
[[nodiscard]] system_crash_event_t makeSystemCrashEvent(const PanicInfo& info);
void freeSystemCrashEvent(system_crash_event_t& event);

// Where the system keeps panic reports, including those it moved aside.
[[nodiscard]] std::vector<std::string> defaultPanicDirs();

class SystemCrashEvents final : public ReportEventsBase<SystemCrashEventCallback> {
 public:
  static constexpr const char* kQueueLabel = "systemCrashEventsQueue";

  SystemCrashEvents(std::string cachePath, std::unique_ptr<PanicReportParser> parser,
                    std::chrono::nanoseconds interval = kDefaultReportInterval,
                    ReportFolders panicDirs = defaultPanicDirs, CandidateRules rules = {});

  [[nodiscard]] std::vector<PanicInfo> collectNewPanicInfos();
  void eventTimerCallback() override;

  const std::vector<std::string> panicReportTypes{"panic", "ips"};
  const std::string cacheFileName = "panic.plist";

 private:
  std::unique_ptr<PanicReportParser> parser;
};

}  // namespace sondrel
