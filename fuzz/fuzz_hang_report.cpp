// Hang report headers.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "frame/logger.h"
#include "reports/app_hang_report_parser.h"

namespace {
void discard(uint32_t, const char*, const char*) {}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool quiet = (sondrel::Logger::shared().registerLogs(discard), true);
  (void)quiet;
  static sondrel::AppHangReportParser parser;
  (void)parser.parseAppHangReportContent(std::string_view(reinterpret_cast<const char*>(data), size));
  return 0;
}
