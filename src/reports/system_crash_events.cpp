#include "reports/system_crash_events.h"

#include <cstdlib>

#include "frame/c_strings.h"

namespace sondrel {

system_crash_event_t makeSystemCrashEvent(const PanicInfo& info) {
  system_crash_event_t event{};
  event.crashPath = CommonUtils::makeCString(info.crashPath);
  event.version = CommonUtils::makeCString(info.version.empty() ? info.macosVersion : info.version);
  event.process = CommonUtils::makeCString(info.process);
  event.stackTrace = CommonUtils::makeCString(info.panicReason + "\n" + info.stackTrace);
  event.timestamp = info.timestamp;
  return event;
}

void freeSystemCrashEvent(system_crash_event_t& event) {
  std::free(event.crashPath);
  std::free(event.version);
  std::free(event.process);
  std::free(event.stackTrace);
  event = system_crash_event_t{};
}

std::vector<std::string> defaultPanicDirs() {
  return {"/Library/Logs/DiagnosticReports", "/Library/Logs/DiagnosticReports/Retired",
          "/Library/Logs/DiagnosticReports/ProxiedDevice-Bridge"};
}

SystemCrashEvents::SystemCrashEvents(std::string cachePath, std::unique_ptr<PanicReportParser> parser,
                                     std::chrono::nanoseconds interval, ReportFolders panicDirs, CandidateRules rules)
    : ReportEventsBase(kQueueLabel, interval, std::move(cachePath)), parser(std::move(parser)) {
  watchReports(panicReportTypes, std::move(panicDirs), cacheFileName, rules, /*foldRetired=*/true);
}

std::vector<PanicInfo> SystemCrashEvents::collectNewPanicInfos() {
  return collectNewInfos<PanicInfo>([this](const std::string& path) {
    return parser ? parser->parsePanicReport(path) : std::nullopt;
  });
}

void SystemCrashEvents::eventTimerCallback() {
  for (const auto& info : collectNewPanicInfos()) {
    system_crash_event_t event = makeSystemCrashEvent(info);
    deliver(event);
    freeSystemCrashEvent(event);
  }
}

}  // namespace sondrel
