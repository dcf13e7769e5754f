// Memory figures from /proc/meminfo. The page counters are read first in each
// sample; the swap and total figures come from that same snapshot.

#include <unistd.h>

#include "frame/logger.h"
#include "perf/linux/small_file.h"
#include "perf/memory_perf_info.h"
#include "perf/proc_text.h"

namespace sondrel {

namespace {

class ProcMeminfoReader final : public IHostMemoryReader {
 public:
  std::optional<VmPageCounters> readPageCounters() override {
    const auto text = readKernelFile("/proc/meminfo");
    snapshot_ = text ? parseMeminfo(*text) : MeminfoValues{};
    auto pages = pageCountersFromMeminfo(snapshot_, pageSize());
    if (!pages) Logger::logError("Error: Could not fetch host_statistics info. /proc/meminfo lacks memory figures.");
    return pages;
  }

  std::optional<SwapUsage> readSwapUsage() override {
    auto swap = swapUsageFromMeminfo(snapshot_, pageSize());
    if (!swap) Logger::logError("Error: /proc/meminfo lacks SwapTotal or SwapFree. Could not fetch Swap usage info.");
    return swap;
  }

  std::optional<uint64_t> readPhysicalMemory() override {
    auto total = physicalMemoryFromMeminfo(snapshot_);
    if (!total) Logger::logError("Error: /proc/meminfo lacks MemTotal. Could not fetch RAM info.");
    return total;
  }

 private:
  static uint64_t pageSize() {
    static const uint64_t size = static_cast<uint64_t>(::sysconf(_SC_PAGESIZE));
    return size;
  }

  MeminfoValues snapshot_;
};

}  // namespace

std::unique_ptr<IHostMemoryReader> makeHostMemoryReader() { return std::make_unique<ProcMeminfoReader>(); }

}  // namespace sondrel
