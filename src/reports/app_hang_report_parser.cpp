#include "reports/app_hang_report_parser.h"

#include <sys/stat.h>

#include <charconv>

#include "frame/app_attributes.h"
#include "frame/export_guard.h"
#include "frame/file_utils.h"
#include "frame/logger.h"
#include "reports/crash_report_parser.h"
#include "reports/report_text.h"

namespace sondrel {

AppHangReportParser::AppHangReportParser() : separator("--------") {}

std::optional<HangInfo> AppHangReportParser::parseAppHangReport(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) {
    Logger::logError("Error: Hang report {} does not exist.", path);
    return std::nullopt;
  }
  const auto text = readFileCapped(path, kMaxReportBytes);
  if (!text || !isValidUtf8(*text)) {
    Logger::logError("Error: Failed to load the report");
    return std::nullopt;
  }
  return parseAppHangReportContent(*text);
}

HangInfo AppHangReportParser::parseAppHangReportContent(std::string_view text) {
  hangInfo.emplace();
  reporttext::forEachLine(text, [&](std::string_view rawLine) {
    const std::string_view line = reporttext::trim(rawLine);
    if (parseCompleted(line)) return false;
    const auto colon = line.find(':');
    if (colon == std::string_view::npos) return true;
    const std::string_view key = reporttext::trim(line.substr(0, colon));
    const std::string_view value = reporttext::trim(line.substr(colon + 1));
    if (key == "Path") {
      hangInfo->appPath = value;
    } else if (key == "Version") {
      hangInfo->version = value;
    } else if (key == "Duration") {
      parseDurationInfo(value);
    }
    return true;
  });
  addAdditionalAttributes();
  return *hangInfo;
}

bool AppHangReportParser::parseCompleted(std::string_view line) const {
  // application is filled only after the walk, so the first test never holds
  // during it: the separator alone ends the header block.
  if (!hangInfo->appPath.empty() && !hangInfo->application.empty() && !hangInfo->version.empty() &&
      hangInfo->duration != 0) {
    return true;
  }
  return line.starts_with(separator);
}

void AppHangReportParser::parseDurationInfo(std::string_view value) {
  // The pattern "^\d+.*\d*s" asks for a leading digit and an "s" after it.
  // An "s" before the end would stay in the number below and fail it, so
  // the pattern and the number together come to: a digit first, "s" last.
  if (value.empty() || !reporttext::isDigit(value.front()) || value.back() != 's') return;
  const std::string_view number = value.substr(0, value.size() - 1);
  double seconds = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), seconds);
  if (error != std::errc() || end != number.data() + number.size()) return;
  const double milliseconds = seconds * 1000;
  if (!(milliseconds > -1 && milliseconds < 18446744073709551616.0)) return;
  hangInfo->duration = milliseconds <= 0 ? 0 : static_cast<uint64_t>(milliseconds);
}

void AppHangReportParser::addAdditionalAttributes() {
  if (hangInfo->appPath.empty()) return;
  hangInfo->application = lastPathComponent(hangInfo->appPath);
  hangInfo->publisher = CommonUtils::getAppCopyright(hangInfo->appPath);
}

}  // namespace sondrel
