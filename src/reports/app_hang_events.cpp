#include "reports/app_hang_events.h"

#include <cstdlib>

#include "frame/c_strings.h"

namespace sondrel {

AppHangEvents::AppHangEvents(std::string cachePath, std::unique_ptr<AppHangReportParser> parser,
                             std::chrono::nanoseconds interval, ReportFolders folders, CandidateRules rules)
    : ReportEventsBase(kQueueLabel, interval, std::move(cachePath)), parser(std::move(parser)) {
  watchReports({hangReportType}, std::move(folders), cacheFileName, rules);
}

std::vector<HangInfo> AppHangEvents::collectNewHangInfos() {
  return collectNewInfos<HangInfo>([this](const std::string& path) {
    return parser ? parser->parseAppHangReport(path) : std::nullopt;
  });
}

void AppHangEvents::eventTimerCallback() {
  for (const auto& info : collectNewHangInfos()) {
    app_hang_event_t event{};
    event.application = CommonUtils::makeCString(info.application);
    event.version = CommonUtils::makeCString(info.version);
    event.appPath = CommonUtils::makeCString(info.appPath);
    event.publisher = CommonUtils::makeCString(info.publisher);
    event.duration = info.duration;
    deliver(event);
    std::free(event.application);
    std::free(event.version);
    std::free(event.appPath);
    std::free(event.publisher);
  }
}

}  // namespace sondrel
