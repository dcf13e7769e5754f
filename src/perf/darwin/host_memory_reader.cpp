// Page counters from host_statistics64 (HOST_VM_INFO64), swap usage and the
// physical memory size from sysctl.

#include <mach/mach.h>
#include <sys/sysctl.h>

#include <cerrno>

#include "frame/logger.h"
#include "perf/memory_perf_info.h"

namespace sondrel {

namespace {

class MachHostMemoryReader final : public IHostMemoryReader {
 public:
  std::optional<VmPageCounters> readPageCounters() override {
    vm_statistics64_data_t statistics{};
    mach_msg_type_number_t count = HOST_VM_INFO64_COUNT;
    const mach_port_t host = mach_host_self();
    const kern_return_t result =
        host_statistics64(host, HOST_VM_INFO64, reinterpret_cast<host_info64_t>(&statistics), &count);
    mach_port_deallocate(mach_task_self(), host);
    if (result != KERN_SUCCESS) {
      Logger::logError("Error: Could not fetch host_statistics info.");
      return std::nullopt;
    }
    VmPageCounters pages;
    pages.freeCount = statistics.free_count;
    pages.activeCount = statistics.active_count;
    pages.inactiveCount = statistics.inactive_count;
    pages.speculativeCount = statistics.speculative_count;
    pages.throttledCount = statistics.throttled_count;
    pages.wiredCount = statistics.wire_count;
    pages.purgeableCount = statistics.purgeable_count;
    pages.faults = statistics.faults;
    pages.cowFaults = statistics.cow_faults;
    pages.zeroFillCount = statistics.zero_fill_count;
    pages.reactivations = statistics.reactivations;
    pages.purges = statistics.purges;
    pages.externalPageCount = statistics.external_page_count;
    pages.internalPageCount = statistics.internal_page_count;
    pages.totalUnCompressedPagesInCompressor = statistics.total_uncompressed_pages_in_compressor;
    pages.compressorPageCount = statistics.compressor_page_count;
    pages.decompressions = statistics.decompressions;
    pages.compressions = statistics.compressions;
    pages.pageIns = statistics.pageins;
    pages.pageOuts = statistics.pageouts;
    pages.swapIns = statistics.swapins;
    pages.swapOuts = statistics.swapouts;
    return pages;
  }

  std::optional<SwapUsage> readSwapUsage() override {
    int name[] = {CTL_VM, VM_SWAPUSAGE};
    struct xsw_usage usage {};
    size_t size = sizeof usage;
    if (sysctl(name, 2, &usage, &size, nullptr, 0) != 0) {
      Logger::logError("Error: sysctl error {}. Could not fetch Swap usage info.", errno);
      return std::nullopt;
    }
    return SwapUsage{usage.xsu_total, usage.xsu_used, usage.xsu_pagesize};
  }

  std::optional<uint64_t> readPhysicalMemory() override {
    int name[] = {CTL_HW, HW_MEMSIZE};
    uint64_t bytes = 0;
    size_t size = sizeof bytes;
    if (sysctl(name, 2, &bytes, &size, nullptr, 0) != 0) {
      Logger::logError("Error: sysctl error {}. Could not fetch RAM info.", errno);
      return std::nullopt;
    }
    return bytes;
  }
};

}  // namespace

std::unique_ptr<IHostMemoryReader> makeHostMemoryReader() { return std::make_unique<MachHostMemoryReader>(); }

}  // namespace sondrel
