#include "reports/system_crash_events.h"

#include <cstdlib>

#include "frame/c_strings.h"
#include "frame/file_utils.h"

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
    : ReportEventsBase(kQueueLabel, interval), cachePath_(std::move(cachePath)), parser(std::move(parser)) {
  scan_.suffixes = panicReportTypes;
  scan_.folders = std::move(panicDirs);
  scan_.cacheFile = cacheFilePath(cachePath_, cacheFileName);
  scan_.foldRetired = true;
  scan_.rules = rules;
}

std::vector<PanicInfo> SystemCrashEvents::collectNewPanicInfos() {
  std::vector<PanicInfo> infos;
  for (const auto& path : scanForNewReports(scan_, secondsSince1970())) {
    if (!parser) continue;
    if (auto info = parser->parsePanicReport(path)) infos.push_back(std::move(*info));
  }
  return infos;
}

void SystemCrashEvents::eventTimerCallback() {
  for (const auto& info : collectNewPanicInfos()) {
    system_crash_event_t event = makeSystemCrashEvent(info);
    deliver(event);
    freeSystemCrashEvent(event);
  }
}

}  // namespace sondrel
