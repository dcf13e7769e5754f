#include "reports/app_crash_events.h"

#include "frame/c_strings.h"
#include "frame/file_utils.h"

namespace sondrel {

app_crash_event_t makeAppCrashEvent(const CrashInfo& info) {
  app_crash_event_t event{};
  CommonUtils::copyCString(info.application, event.application);
  CommonUtils::copyCString(info.appPath, event.appPath);
  event.crashTime = info.crashTime;
  CommonUtils::copyCString(info.version, event.version);
  CommonUtils::copyCString(info.publisher, event.publisher);
  CommonUtils::copyCString(info.user, event.user);
  event.moduleTimeStamp = info.moduleTimeStamp;
  CommonUtils::copyCString(info.module, event.module);
  CommonUtils::copyCString(info.modulePath, event.modulePath);
  CommonUtils::copyCString(info.moduleVersion, event.moduleVersion);
  event.appTimeStamp = info.appTimeStamp;
  return event;
}

AppCrashEvents::AppCrashEvents(std::string cachePath, std::unique_ptr<CrashReportParser> parser,
                               std::chrono::nanoseconds interval, ReportFolders folders, CandidateRules rules)
    : ReportEventsBase(kQueueLabel, interval), cachePath_(std::move(cachePath)), parser(std::move(parser)) {
  scan_.suffixes = {"crash", "ips"};
  scan_.folders = std::move(folders);
  scan_.cacheFile = cacheFilePath(cachePath_, cacheFileName);
  scan_.rules = rules;
}

std::vector<CrashInfo> AppCrashEvents::collectNewCrashInfos() {
  std::vector<CrashInfo> infos;
  for (const auto& path : scanForNewReports(scan_, secondsSince1970())) {
    if (!parser) continue;
    if (auto info = parser->parseCrashReport(path)) infos.push_back(std::move(*info));
  }
  return infos;
}

void AppCrashEvents::eventTimerCallback() {
  for (const auto& info : collectNewCrashInfos()) {
    app_crash_event_t event = makeAppCrashEvent(info);
    deliver(event);
  }
}

}  // namespace sondrel
