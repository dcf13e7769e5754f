// The /proc parsers on arbitrary text: no crash, no unbounded work, and the
// memory figures they feed never trip the overflow guard on parsed input.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "perf/proc_text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  (void)sondrel::parseProcStat(text);
  const auto meminfo = sondrel::parseMeminfo(text);
  (void)sondrel::pageCountersFromMeminfo(meminfo, 4096);
  (void)sondrel::swapUsageFromMeminfo(meminfo, 4096);
  (void)sondrel::parseDiskstats(text);
  (void)sondrel::localVolumesFromMounts(text);
  return 0;
}
