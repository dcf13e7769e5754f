// Panic reports, JSON and text: the first byte picks the file name.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "frame/logger.h"
#include "reports/panic_report_parser.h"

namespace {
void discard(uint32_t, const char*, const char*) {}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool quiet = (sondrel::Logger::shared().registerLogs(discard), true);
  (void)quiet;
  static sondrel::PanicReportParser parser;
  if (size == 0) return 0;
  const std::string path = (data[0] & 1) != 0 ? "/fuzz/panic-full.ips" : "/fuzz/Kernel.panic";
  const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
  (void)parser.parsePanicReportContent(path, text, 1000);
  return 0;
}
