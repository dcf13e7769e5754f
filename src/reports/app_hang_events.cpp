#include "reports/app_hang_events.h"

#include <cstdlib>

#include "frame/c_strings.h"
#include "frame/file_utils.h"

namespace sondrel {

AppHangEvents::AppHangEvents(std::string cachePath, std::unique_ptr<AppHangReportParser> parser,
                             std::chrono::nanoseconds interval, ReportFolders folders, CandidateRules rules)
    : ReportEventsBase(kQueueLabel, interval), cachePath_(std::move(cachePath)), parser(std::move(parser)) {
  scan_.suffixes = {hangReportType};
  scan_.folders = std::move(folders);
  scan_.cacheFile = cacheFilePath(cachePath_, cacheFileName);
  scan_.rules = rules;
}

std::vector<HangInfo> AppHangEvents::collectNewHangInfos() {
  std::vector<HangInfo> infos;
  for (const auto& path : scanForNewReports(scan_, secondsSince1970())) {
    if (!parser) continue;
    if (auto info = parser->parseAppHangReport(path)) infos.push_back(std::move(*info));
  }
  return infos;
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
