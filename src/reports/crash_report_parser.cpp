#include "reports/crash_report_parser.h"

#include <sys/stat.h>
#include <unistd.h>

#include "frame/app_attributes.h"
#include "frame/export_guard.h"
#include "frame/file_utils.h"
#include "frame/json_blocks.h"
#include "frame/logger.h"
#include "frame/text_fields.h"
#include "frame/users.h"
#include "reports/binary_image_line.h"
#include "reports/report_date.h"
#include "reports/report_text.h"
#include "reports/signing_time.h"

namespace sondrel {

namespace {

using reporttext::isDigit;
using reporttext::isSpace;
using reporttext::trim;

constexpr std::string_view kSystemLibraryPrefix = "/usr/lib/";

bool isSystemLibrary(std::string_view path) { return path.starts_with(kSystemLibraryPrefix); }

// "^Thread\s+\d+\s+Crashed:"
bool startsCrashedThread(std::string_view line) {
  if (!line.starts_with("Thread")) return false;
  size_t at = 6;
  const auto skipSpaces = [&] {
    const size_t from = at;
    while (at < line.size() && isSpace(line[at])) ++at;
    return at > from;
  };
  if (!skipSpaces()) return false;
  const size_t digitsFrom = at;
  while (at < line.size() && isDigit(line[at])) ++at;
  if (at == digitsFrom || !skipSpaces()) return false;
  return line.substr(at).starts_with("Crashed:");
}

// "^\d+\s+.+"
bool isFrameLine(std::string_view line) {
  size_t at = 0;
  while (at < line.size() && isDigit(line[at])) ++at;
  if (at == 0) return false;
  const size_t spacesFrom = at;
  while (at < line.size() && isSpace(line[at])) ++at;
  if (at == spacesFrom) return false;
  // ".+" needs one character that is not a line end; a trailing blank that
  // the regular expression would take is already trimmed away.
  return at < line.size() || at - spacesFrom > 1;
}

std::string jsonNumberText(const simdjson::dom::element& value) {
  int64_t signedValue = 0;
  if (value.get_int64().get(signedValue) == simdjson::SUCCESS) return std::to_string(signedValue);
  uint64_t unsignedValue = 0;
  if (value.get_uint64().get(unsignedValue) == simdjson::SUCCESS) return std::to_string(unsignedValue);
  double floating = 0;
  if (value.get_double().get(floating) == simdjson::SUCCESS) return fmt::format("{}", floating);
  return {};
}

std::string_view jsonText(const simdjson::dom::object& object, std::string_view key) {
  std::string_view text;
  if (object.at_key(key).get_string().get(text) != simdjson::SUCCESS) return {};
  return text;
}

}  // namespace

CrashReportParser::CrashReportParser() : crashKeys{"Path", "Identifier", "Version", "User ID", "Date/Time"} {}

void CrashReportParser::reset() {
  crashInfo.reset();
  properties.clear();
  backTrace.clear();
  moduleMap.clear();
  parseBackTrace = ParseBackTraceState::notStarted;
  parseBinaryImage = ParseBinaryImageState::notStarted;
  isIpsFile = false;
}

std::optional<CrashInfo> CrashReportParser::parseCrashReport(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) {
    Logger::logError("Error: Crash report {} does not exist.", path);
    return std::nullopt;
  }
  const auto text = readFileCapped(path, kMaxReportBytes);
  if (!text || !isValidUtf8(*text)) {
    Logger::logError("Error: Failed to load the report");
    return std::nullopt;
  }
  return parseCrashReportContent(path, *text);
}

std::optional<CrashInfo> CrashReportParser::parseCrashReportContent(std::string_view path, std::string_view text) {
  // Every parse, from a file or from memory, starts here: nothing of the previous report carries over.
  reset();
  crashInfo.emplace();
  isIpsFile = path.ends_with("ips");
  if (isIpsFile) {
    handleIpsFile(text);
  } else {
    handleCrashFile(text);
  }
  // The views into text must not outlive this call.
  backTrace.clear();
  if (crashInfo && !crashInfo->application.empty()) return std::move(crashInfo);
  Logger::logError("Did not parse the crash report successfully.");
  return std::nullopt;
}

void CrashReportParser::handleIpsFile(std::string_view text) {
  if (!handleHeaderLineAndBody(text)) {
    const auto blocks = CommonUtils::getJsonBlock(text);
    if (blocks.empty()) {
      Logger::logError("Cannot parse the report.");
      return;
    }
    for (const auto block : blocks) parseJsonContent(block);
  }
  retrieveCrashAppAttributes();
}

namespace {
std::string_view trimmedJson(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(" \t\r\n");
  return text.substr(first, last - first + 1);
}
bool looksLikeObject(std::string_view text) { return text.size() >= 2 && text.front() == '{' && text.back() == '}'; }
}  // namespace

// Reports as macOS writes them: a one-line JSON header, then one JSON body.
// When each half is a single valid object, those are exactly the two blocks
// the brace-matching split finds, so the split's scan of the whole body is
// skipped and simdjson's own validation stands in for it. Anything else
// falls back to the split.
bool CrashReportParser::handleHeaderLineAndBody(std::string_view text) {
  const auto newline = text.find('\n');
  if (newline == std::string_view::npos) return false;
  const auto header = trimmedJson(text.substr(0, newline));
  const auto body = trimmedJson(text.substr(newline + 1));
  if (!looksLikeObject(header) || !looksLikeObject(body)) return false;
  simdjson::dom::object headerDict;
  simdjson::dom::object bodyDict;
  if (headerParser_.parse(header.data(), header.size()).get_object().get(headerDict) != simdjson::SUCCESS ||
      jsonParser_.parse(body.data(), body.size()).get_object().get(bodyDict) != simdjson::SUCCESS) {
    return false;
  }
  applyJsonDict(headerDict);
  applyJsonDict(bodyDict);
  return true;
}

void CrashReportParser::parseJsonContent(std::string_view block) {
  simdjson::dom::element root;
  if (jsonParser_.parse(block.data(), block.size()).get(root) != simdjson::SUCCESS) {
    Logger::logError("Error: Exception happened when parsing panic attributes.");
    return;
  }
  simdjson::dom::object dict;
  if (root.get_object().get(dict) != simdjson::SUCCESS) {
    Logger::logError("NULL JSON content after parsing.");
    return;
  }
  applyJsonDict(dict);
}

void CrashReportParser::applyJsonDict(const simdjson::dom::object& dict) {
  static constexpr std::pair<std::string_view, std::string_view> kTextKeys[] = {
      {"app_name", "Identifier"}, {"app_version", "Version"}, {"captureTime", "Date/Time"}, {"procPath", "Path"}};
  for (const auto& [jsonKey, propertyKey] : kTextKeys) {
    std::string_view value;
    if (dict.at_key(jsonKey).get_string().get(value) == simdjson::SUCCESS) {
      properties.insert_or_assign(std::string(propertyKey), std::string(value));
    }
  }
  simdjson::dom::element userId;
  if (dict.at_key("userID").get(userId) == simdjson::SUCCESS && userId.is_number()) {
    properties.insert_or_assign("User ID", jsonNumberText(userId));
  }
  parseModuleInfoFromJsonDict(dict);
}

bool CrashReportParser::offerModule(std::string_view name, std::string_view path, std::string_view version,
                                    bool& haveModule) {
  const bool outsideSystem = !isSystemLibrary(path);
  if (!haveModule || outsideSystem) {
    crashInfo->module = name;
    crashInfo->modulePath = path;
    crashInfo->moduleVersion = version;
    haveModule = true;
  }
  return outsideSystem;
}

void CrashReportParser::parseModuleInfoFromJsonDict(const simdjson::dom::object& dict) {
  int64_t faultingThread = 0;
  simdjson::dom::array threads;
  simdjson::dom::array usedImages;
  if (dict.at_key("faultingThread").get_int64().get(faultingThread) != simdjson::SUCCESS ||
      dict.at_key("threads").get_array().get(threads) != simdjson::SUCCESS ||
      dict.at_key("usedImages").get_array().get(usedImages) != simdjson::SUCCESS || faultingThread < 0 ||
      static_cast<uint64_t>(faultingThread) >= threads.size()) {
    return;
  }
  simdjson::dom::object thread;
  if (threads.at(static_cast<size_t>(faultingThread)).get_object().get(thread) != simdjson::SUCCESS) return;

  // Counting the images once keeps the walk linear in the number of frames.
  std::vector<simdjson::dom::element> images(usedImages.begin(), usedImages.end());
  simdjson::dom::array frames;
  if (thread.at_key("frames").get_array().get(frames) == simdjson::SUCCESS) {
    bool haveModule = false;
    for (const auto frame : frames) {
      int64_t imageIndex = -1;
      if (frame.at_key("imageIndex").get_int64().get(imageIndex) != simdjson::SUCCESS || imageIndex < 0 ||
          static_cast<uint64_t>(imageIndex) >= images.size()) {
        continue;
      }
      simdjson::dom::object image;
      std::string_view name, path, version;
      if (images[static_cast<size_t>(imageIndex)].get_object().get(image) == simdjson::SUCCESS) {
        name = jsonText(image, "name");
        path = jsonText(image, "path");
        version = jsonText(image, "CFBundleShortVersionString");
      }
      if (offerModule(name, path, version, haveModule)) break;
    }
  }
  crashInfo->moduleTimeStamp = retrieveTimeStamp(crashInfo->modulePath);
}

void CrashReportParser::handleCrashFile(std::string_view text) {
  reporttext::forEachLine(text, [&](std::string_view rawLine) {
    const std::string_view line = trim(rawLine);
    if (line.empty()) return true;
    if (parseBinaryImage == ParseBinaryImageState::inBinaryImages) {
      parseModuleInfo(line);
      return true;
    }
    if (parseBackTrace == ParseBackTraceState::inBackTrace) {
      if (isFrameLine(line)) {
        backTrace.push_back(line);
        return true;
      }
      // The crashed thread's frames are one run; whatever follows ends it.
      parseBackTrace = ParseBackTraceState::notStarted;
    }
    if (startsCrashedThread(line)) {
      parseBackTrace = ParseBackTraceState::inBackTrace;
    } else if (line == "Binary Images:") {
      parseBinaryImage = ParseBinaryImageState::inBinaryImages;
    } else {
      parseProperties(line);
    }
    return true;
  });
  retrieveCrashModule();
  retrieveCrashAppAttributes();
}

void CrashReportParser::parseProperties(std::string_view line) {
  const auto colon = line.find(':');
  if (colon == std::string_view::npos || colon > 64) return;  // header keys are short; skip long lines early
  const std::string_view key = trim(line.substr(0, colon));
  for (const auto& wanted : crashKeys) {
    if (key == wanted) {
      properties.insert_or_assign(wanted, std::string(trim(line.substr(colon + 1))));
      return;
    }
  }
}

void CrashReportParser::parseModuleInfo(std::string_view line) {
  const auto fields = matchBinaryImageLine(line);
  if (!fields) {
    Logger::logDebug("failed to parse binary info for ({})", line);
    return;
  }
  ModuleInfo module{std::string(fields->name), std::string(fields->version), std::string(fields->path)};
  auto key = module.name;
  moduleMap.insert_or_assign(std::move(key), std::move(module));
}

void CrashReportParser::retrieveCrashModule() {
  bool haveModule = false;
  for (const auto line : backTrace) {
    // The image column is the second white-space separated part of a frame line.
    size_t at = 0;
    while (at < line.size() && !isSpace(line[at])) ++at;
    while (at < line.size() && isSpace(line[at])) ++at;
    size_t end = at;
    while (end < line.size() && !isSpace(line[end])) ++end;
    if (end == at) continue;
    const auto found = moduleMap.find(line.substr(at, end - at));
    if (found == moduleMap.end()) continue;
    if (offerModule(found->second.name, found->second.path, found->second.version, haveModule)) break;
  }
  crashInfo->moduleTimeStamp = retrieveTimeStamp(crashInfo->modulePath);
}

void CrashReportParser::retrieveCrashAppAttributes() {
  const auto property = [&](std::string_view key) -> std::string {
    const auto found = properties.find(key);
    return found == properties.end() ? std::string() : found->second;
  };
  crashInfo->application = property("Identifier");
  crashInfo->version = property("Version");
  crashInfo->appPath = property("Path");
  if (const auto uid = parseWhole<uint32_t>(property("User ID"))) {
    auto found = userNames_.find(*uid);
    if (found == userNames_.end()) found = userNames_.emplace(*uid, userNameForUid(*uid).value_or("")).first;
    crashInfo->user = found->second;
  }
  crashInfo->crashTime = wholeSecondsOrZero(parseReportDate(property("Date/Time")));
  crashInfo->publisher = CommonUtils::getAppCopyright(crashInfo->appPath);
  // A crash in the application's own binary names that binary as the module
  // too, and reading a signature is slow: a time already read is reused. A 0
  // is asked again, so that each failure is still logged for both fields.
  const bool reuseModuleTime = crashInfo->modulePath == crashInfo->appPath && crashInfo->moduleTimeStamp != 0;
  crashInfo->appTimeStamp = reuseModuleTime ? crashInfo->moduleTimeStamp : retrieveTimeStamp(crashInfo->appPath);
}

}  // namespace sondrel
