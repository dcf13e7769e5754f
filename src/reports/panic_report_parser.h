#pragma once
// Reads one kernel panic report: the JSON layouts (".panic", or ".ips" with
// bug type 210) and the older plain-text ".panic" files of Intel Macs.
// Thread contract: one report at a time; the owning source calls it from its scan only.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <simdjson.h>

namespace sondrel {

struct PanicInfo {
  uint64_t timestamp = 0;  // seconds since 1970
  std::string stackTrace;
  std::string panicReason;
  std::string version;       // what the file itself declares
  std::string macosVersion;  // the build named inside the panic text
  std::string process;
  std::string crashPath;
};

// What the panic text itself tells, whichever file carried it.
struct PanicTextFacts {
  std::string panicReason;
  std::string process;
  std::string stackTrace;
  std::string macosVersion;
  std::optional<double> dateLine;  // the older text layout's own date
};

// Nothing when the text holds no "panic(" line.
[[nodiscard]] std::optional<PanicTextFacts> parsePanicText(std::string_view text);

class PanicReportParser {
 public:
  [[nodiscard]] std::optional<PanicInfo> parsePanicReport(const std::string& path);
  // The same for a report already in memory; modificationTime stands in
  // when the report carries no date of its own.
  [[nodiscard]] std::optional<PanicInfo> parsePanicReportContent(const std::string& path, std::string_view text,
                                                                 double modificationTime);

 private:
  std::optional<PanicInfo> parseJsonPanic(const std::string& path, std::string_view text, double modificationTime);

  simdjson::dom::parser jsonParser_;
};

}  // namespace sondrel
