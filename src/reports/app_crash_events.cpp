#include "reports/app_crash_events.h"

#include "frame/c_strings.h"

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
    : ReportEventsBase(kQueueLabel, interval, std::move(cachePath)), parser(std::move(parser)) {
  watchReports({"crash", "ips"}, std::move(folders), cacheFileName, rules);
}

std::vector<CrashInfo> AppCrashEvents::collectNewCrashInfos() {
  return collectNewInfos<CrashInfo>([this](const std::string& path) {
    return parser ? parser->parseCrashReport(path) : std::nullopt;
  });
}

void AppCrashEvents::eventTimerCallback() {
  for (const auto& info : collectNewCrashInfos()) {
    app_crash_event_t event = makeAppCrashEvent(info);
    deliver(event);
  }
}

}  // namespace sondrel
