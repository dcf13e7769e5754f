// Processor ticks from /proc/stat.

#include "frame/logger.h"
#include "perf/cpu_perf_info.h"
#include "perf/linux/small_file.h"
#include "perf/proc_text.h"

namespace sondrel {

std::optional<CPUPerfInfo> CPUPerfInfoProvider::tryGetCPU() {
  const auto text = readKernelFile("/proc/stat");
  const auto ticks = text ? parseProcStat(*text) : std::nullopt;
  if (!ticks) {
    Logger::logError("Error: Could not fetch CPU perf info.");
    return std::nullopt;
  }
  return sumProcessorTicks(*ticks);
}

}  // namespace sondrel
