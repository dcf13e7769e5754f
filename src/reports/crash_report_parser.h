#pragma once
// Reads one application crash report, JSON (".ips": a one-line JSON header,
// then a JSON body) or the older text layout, into a CrashInfo.
// Thread contract: one report at a time; the owning source calls it from its scan only.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <simdjson.h>

namespace sondrel {

struct CrashInfo {
  std::string application;
  std::string appPath;
  uint64_t crashTime = 0;
  std::string version;
  std::string publisher;
  std::string user;
  uint64_t moduleTimeStamp = 0;
  std::string module;
  std::string modulePath;
  std::string moduleVersion;
  uint64_t appTimeStamp = 0;
};

struct ModuleInfo {
  std::string name;
  std::string version;
  std::string path;
};

enum class ParseBackTraceState { notStarted, inBackTrace };
enum class ParseBinaryImageState { notStarted, inBinaryImages };

// Reports live in folders any user can write; nothing larger is read.
inline constexpr size_t kMaxReportBytes = 64 * 1024 * 1024;

class CrashReportParser {
 public:
  CrashReportParser();

  [[nodiscard]] std::optional<CrashInfo> parseCrashReport(const std::string& path);
  // The same for a report already in memory; path decides the format, as the
  // file name does on disk.
  [[nodiscard]] std::optional<CrashInfo> parseCrashReportContent(std::string_view path, std::string_view text);

 private:
  void reset();
  void handleIpsFile(std::string_view text);
  void parseJsonContent(std::string_view block);
  bool handleHeaderLineAndBody(std::string_view text);
  void applyJsonDict(const simdjson::dom::object& dict);
  void parseModuleInfoFromJsonDict(const simdjson::dom::object& dict);
  void handleCrashFile(std::string_view text);
  void parseProperties(std::string_view line);
  void parseModuleInfo(std::string_view line);
  void retrieveCrashModule();
  void retrieveCrashAppAttributes();
  // The faulting-module rule of both formats: the first image seen is kept
  // until one outside /usr/lib/ replaces it; true when the walk may stop.
  bool offerModule(std::string_view name, std::string_view path, std::string_view version, bool& haveModule);

  std::optional<CrashInfo> crashInfo;
  std::map<std::string, std::string, std::less<>> properties;
  std::vector<std::string_view> backTrace;
  std::map<std::string, ModuleInfo, std::less<>> moduleMap;
  ParseBackTraceState parseBackTrace = ParseBackTraceState::notStarted;
  ParseBinaryImageState parseBinaryImage = ParseBinaryImageState::notStarted;
  std::vector<std::string> crashKeys;
  bool isIpsFile = false;
  simdjson::dom::parser jsonParser_;
  simdjson::dom::parser headerParser_;
  // Account lookups go through the name services and cost far more than a
  // parse; a source sees the same few users again and again.
  std::map<uint32_t, std::string> userNames_;
};

}  // namespace sondrel
