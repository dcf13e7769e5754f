#include "reports/panic_report_parser.h"

#include <sys/stat.h>

#include <re2/re2.h>
#include <vector>

#include "frame/export_guard.h"
#include "frame/file_utils.h"
#include "frame/json_blocks.h"
#include "frame/logger.h"
#include "reports/crash_report_parser.h"
#include "reports/report_date.h"
#include "reports/report_text.h"

namespace sondrel {

namespace {

using reporttext::trim;

std::string_view afterPrefix(std::string_view line, std::string_view prefix) {
  return line.starts_with(prefix) ? trim(line.substr(prefix.size())) : std::string_view();
}

// "Panicked task 0x…: N pages, N threads: pid N: NAME"
std::optional<std::string> panickedTaskProcess(std::string_view line) {
  static const RE2 pattern(R"(^Panicked task [^:]*:.*?pid -?\d+: (.*)$)");
  std::string name;
  if (!RE2::FullMatch(re2::StringPiece(line.data(), line.size()), pattern, &name)) return std::nullopt;
  return std::string(trim(name));
}

}  // namespace

std::optional<PanicTextFacts> parsePanicText(std::string_view text) {
  std::vector<std::string_view> lines;
  reporttext::forEachLine(text, [&](std::string_view line) {
    lines.push_back(line);
    return true;
  });

  size_t panicLine = lines.size();
  for (size_t i = 0; i < lines.size(); ++i) {
    if (trim(lines[i]).starts_with("panic(")) {
      panicLine = i;
      break;
    }
  }
  if (panicLine == lines.size()) return std::nullopt;

  PanicTextFacts facts;
  const std::string_view first = trim(lines[panicLine]);
  if (const auto reason = first.find("): "); reason != std::string_view::npos) {
    facts.panicReason = trim(first.substr(reason + 3));
  } else if (const auto close = first.find(')'); close != std::string_view::npos) {
    facts.panicReason = trim(first.substr(close + 1));
  }
  // The older layout dates the report above the panic line.
  for (size_t i = 0; i < panicLine && !facts.dateLine; ++i) facts.dateLine = parsePanicDateLine(lines[i]);

  // The value of "Key:" on the same line, or else on the next non-blank one.
  const auto valueAt = [&](size_t i, std::string_view rest) -> std::string {
    if (!rest.empty()) return std::string(rest);
    for (size_t next = i + 1; next < lines.size(); ++next) {
      const auto candidate = trim(lines[next]);
      if (!candidate.empty()) return std::string(candidate);
    }
    return {};
  };

  bool haveTrace = false;
  for (size_t i = panicLine + 1; i < lines.size(); ++i) {
    const std::string_view line = trim(lines[i]);
    if (facts.process.empty()) {
      if (line.starts_with("BSD process name corresponding to current thread:")) {
        facts.process = afterPrefix(line, "BSD process name corresponding to current thread:");
      } else if (line.starts_with("Process name corresponding to current thread:")) {
        facts.process = afterPrefix(line, "Process name corresponding to current thread:");
      } else if (line.starts_with("Panicked task ")) {
        if (auto name = panickedTaskProcess(line)) facts.process = std::move(*name);
      }
    }
    if (facts.macosVersion.empty()) {
      if (line.starts_with("Mac OS version:")) {
        facts.macosVersion = valueAt(i, afterPrefix(line, "Mac OS version:"));
      } else if (line.starts_with("OS version:")) {
        facts.macosVersion = valueAt(i, afterPrefix(line, "OS version:"));
      }
    }
    if (!haveTrace && (line.starts_with("Backtrace (CPU") || line.starts_with("Panicked thread:"))) {
      haveTrace = true;
      // The trace, with its list of kernel extensions, runs to the next blank line.
      for (size_t next = i + 1; next < lines.size(); ++next) {
        const auto frame = trim(lines[next]);
        if (frame.empty()) break;
        if (!facts.stackTrace.empty()) facts.stackTrace += '\n';
        facts.stackTrace += frame;
      }
    }
  }
  return facts;
}

namespace {

std::optional<PanicInfo> noPanicLine(const std::string& path) {
  Logger::logInfo("{} is not a panic report: it holds no panic line", path);
  return std::nullopt;
}

PanicInfo panicInfoFrom(PanicTextFacts&& facts, const std::string& path, double when) {
  PanicInfo info;
  info.panicReason = std::move(facts.panicReason);
  info.process = std::move(facts.process);
  info.stackTrace = std::move(facts.stackTrace);
  info.macosVersion = std::move(facts.macosVersion);
  info.timestamp = wholeSecondsOrZero(when);
  info.crashPath = path;
  return info;
}

}  // namespace

std::optional<PanicInfo> PanicReportParser::parsePanicReport(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) {
    Logger::logError("Error: Panic report {} does not exist.", path);
    return std::nullopt;
  }
  const auto text = readFileCapped(path, kMaxReportBytes);
  if (!text || !isValidUtf8(*text)) {
    Logger::logError("Error: Failed to load the report");
    return std::nullopt;
  }
  return parsePanicReportContent(path, *text, modificationSeconds(info));
}

std::optional<PanicInfo> PanicReportParser::parsePanicReportContent(const std::string& path, std::string_view text,
                                                                    double modificationTime) {
  if (trim(text).starts_with("{")) return parseJsonPanic(path, text, modificationTime);
  if (path.ends_with("ips")) {
    Logger::logInfo("{} is not a panic report: not JSON", path);
    return std::nullopt;
  }
  auto facts = parsePanicText(text);
  if (!facts) return noPanicLine(path);
  const std::optional<double> when = facts->dateLine;
  return panicInfoFrom(std::move(*facts), path, when ? *when : modificationTime);
}

std::optional<PanicInfo> PanicReportParser::parseJsonPanic(const std::string& path, std::string_view text,
                                                           double modificationTime) {
  std::string bugType, osVersion, build;
  std::optional<double> headerTime, bodyTime;
  std::string macOSPanicString, panicString;
  bool anyBlock = false;
  for (const auto block : CommonUtils::getJsonBlock(text)) {
    simdjson::dom::element root;
    simdjson::dom::object dict;
    if (jsonParser_.parse(block.data(), block.size()).get(root) != simdjson::SUCCESS) {
      Logger::logError("Error: Exception happened when parsing panic attributes.");
      continue;
    }
    if (root.get_object().get(dict) != simdjson::SUCCESS) continue;
    anyBlock = true;
    const auto textOf = [&](std::string_view key, std::string& into) {
      std::string_view value;
      if (dict.at_key(key).get_string().get(value) == simdjson::SUCCESS) into = value;
    };
    // The bug type is text in every report seen, but a number costs nothing to accept.
    int64_t numericBugType = 0;
    if (dict.at_key("bug_type").get_int64().get(numericBugType) == simdjson::SUCCESS) {
      bugType = std::to_string(numericBugType);
    } else {
      textOf("bug_type", bugType);
    }
    textOf("os_version", osVersion);
    textOf("build", build);
    textOf("macOSPanicString", macOSPanicString);
    textOf("panicString", panicString);
    std::string_view date;
    if (dict.at_key("timestamp").get_string().get(date) == simdjson::SUCCESS && !headerTime) {
      headerTime = parseReportDate(date);
    }
    if (dict.at_key("date").get_string().get(date) == simdjson::SUCCESS && !bodyTime) {
      bodyTime = parseReportDate(date);
    }
  }
  if (!anyBlock) {
    Logger::logInfo("{} is not a panic report: no JSON object in it", path);
    return std::nullopt;
  }
  if (path.ends_with("ips") && bugType != "210") {
    Logger::logInfo("{} is not a panic report: bug type {}", path, bugType.empty() ? "missing" : bugType);
    return std::nullopt;
  }
  // An Intel Mac with a T2 chip writes both: the bridge's own panic text and
  // the macOS one. Which is there decides, not the architecture we run on.
  std::optional<PanicTextFacts> facts;
  if (!macOSPanicString.empty()) facts = parsePanicText(macOSPanicString);
  if (!facts && !panicString.empty()) facts = parsePanicText(panicString);
  if (!facts) return noPanicLine(path);
  const std::optional<double> when = headerTime ? headerTime : bodyTime ? bodyTime : facts->dateLine;
  PanicInfo info = panicInfoFrom(std::move(*facts), path, when ? *when : modificationTime);
  info.version = !osVersion.empty() ? osVersion : build;
  return info;
}

}  // namespace sondrel
