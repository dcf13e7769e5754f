#pragma once
// Reads the header block of one application hang report into a HangInfo.
// Thread contract: one report at a time; the owning source calls it from its scan only.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sondrel {

struct HangInfo {
  std::string application;
  std::string appPath;
  std::string version;
  std::string publisher;
  uint64_t duration = 0;  // milliseconds
};

class AppHangReportParser {
 public:
  AppHangReportParser();

  [[nodiscard]] std::optional<HangInfo> parseAppHangReport(const std::string& path);
  // The same for a report already in memory.
  [[nodiscard]] HangInfo parseAppHangReportContent(std::string_view text);

 private:
  [[nodiscard]] bool parseCompleted(std::string_view line) const;
  void parseDurationInfo(std::string_view value);
  void addAdditionalAttributes();

  std::string separator;
  std::optional<HangInfo> hangInfo;
};

}  // namespace sondrel
