// Crash reports in both layouts: the first byte picks the file name, and so the layout.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "frame/logger.h"
#include "reports/crash_report_parser.h"

namespace {
void discard(uint32_t, const char*, const char*) {}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool quiet = (sondrel::Logger::shared().registerLogs(discard), true);
  (void)quiet;
  static sondrel::CrashReportParser parser;
  if (size == 0) return 0;
  const std::string_view path = (data[0] & 1) != 0 ? "/fuzz/report.ips" : "/fuzz/report.crash";
  const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
  (void)parser.parseCrashReportContent(path, text);
  return 0;
}
