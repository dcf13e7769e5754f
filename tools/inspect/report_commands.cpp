#include "inspect/report_commands.h"

#include <functional>
#include <optional>

#include "common/json_writer.h"
#include "frame/logger.h"
#include "reports/app_hang_report_parser.h"
#include "reports/crash_report_parser.h"
#include "reports/panic_report_parser.h"

namespace sondrel::tools {

namespace {

void writeFields(JsonWriter& json, const CrashInfo& info) {
  json.field("application", info.application)
      .field("appPath", info.appPath)
      .field("crashTime", info.crashTime)
      .field("version", info.version)
      .field("publisher", info.publisher)
      .field("user", info.user)
      .field("moduleTimeStamp", info.moduleTimeStamp)
      .field("module", info.module)
      .field("modulePath", info.modulePath)
      .field("moduleVersion", info.moduleVersion)
      .field("appTimeStamp", info.appTimeStamp);
}

void writeFields(JsonWriter& json, const HangInfo& info) {
  json.field("application", info.application)
      .field("appPath", info.appPath)
      .field("version", info.version)
      .field("publisher", info.publisher)
      .field("duration", info.duration);
}

void writeFields(JsonWriter& json, const PanicInfo& info) {
  json.field("timestamp", info.timestamp)
      .field("stackTrace", info.stackTrace)
      .field("panicReason", info.panicReason)
      .field("version", info.version)
      .field("macosVersion", info.macosVersion)
      .field("process", info.process)
      .field("crashPath", info.crashPath);
}

// The parsers say why they reject a file in log lines; here they belong on standard error.
void logToStandardError(uint32_t level, const char*, const char* message) {
  if (level >= static_cast<uint32_t>(LogLevel::info)) std::fprintf(stderr, "%s\n", message);
}

template <typename Info>
int inspectEach(const std::vector<std::string>& paths, std::FILE* out, const char* usage,
                const std::function<std::optional<Info>(const std::string&)>& parse) {
  if (paths.empty()) {
    std::fputs(usage, stderr);
    return 2;
  }
  Logger::shared().registerLogs(logToStandardError);
  int status = 0;
  for (const auto& path : paths) {
    JsonWriter json;
    json.beginObject().field("path", path);
    if (const auto info = parse(path)) {
      writeFields(json, *info);
    } else {
      json.field("error", "the parser returned nothing (see the log lines on standard error)");
      status = 1;
    }
    json.endObject();
    std::fprintf(out, "%s\n", json.str().c_str());
  }
  Logger::shared().unregisterLogsCollector();
  return status;
}

}  // namespace

int inspectCrashReports(const std::vector<std::string>& paths, std::FILE* out) {
  CrashReportParser parser;
  return inspectEach<CrashInfo>(paths, out, "usage: sondrel-inspect crash FILE...\n",
                                [&](const std::string& path) { return parser.parseCrashReport(path); });
}

int inspectHangReports(const std::vector<std::string>& paths, std::FILE* out) {
  AppHangReportParser parser;
  return inspectEach<HangInfo>(paths, out, "usage: sondrel-inspect hang FILE...\n",
                               [&](const std::string& path) { return parser.parseAppHangReport(path); });
}

int inspectPanicReports(const std::vector<std::string>& paths, std::FILE* out) {
  PanicReportParser parser;
  return inspectEach<PanicInfo>(paths, out, "usage: sondrel-inspect panic FILE...\n",
                                [&](const std::string& path) { return parser.parsePanicReport(path); });
}

}  // namespace sondrel::tools
