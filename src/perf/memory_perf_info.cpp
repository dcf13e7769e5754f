#include "perf/memory_perf_info.h"

#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "frame/logger.h"
#include "perf/checked_math.h"

namespace sondrel {

std::string MemoryPerfInfo::debugDescription() const {
  return fmt::format("MemoryPerfInfo(totalPhysical: {}, inUse: {}, usagePercent: {}, pageFileUsage: {})",
                     totalPhysical, inUse, usagePercent, pageFileUsage);
}

std::string_view rawValue(VmStatistics key) {
  switch (key) {
    case VmStatistics::totalRAM: return "totalRAM";
    case VmStatistics::freeCount: return "freeCount";
    case VmStatistics::activeCount: return "activeCount";
    case VmStatistics::inactiveCount: return "inactiveCount";
    case VmStatistics::speculativeCount: return "speculativeCount";
    case VmStatistics::throttledCount: return "throttledCount";
    case VmStatistics::wiredCount: return "wiredCount";
    case VmStatistics::purgeableCount: return "purgeableCount";
    case VmStatistics::faults: return "faults";
    case VmStatistics::cowFaults: return "cowFaults";
    case VmStatistics::zeroFillCount: return "zeroFillCount";
    case VmStatistics::reactivations: return "reactivations";
    case VmStatistics::purges: return "purges";
    case VmStatistics::externalPageCount: return "externalPageCount";
    case VmStatistics::internalPageCount: return "internalPageCount";
    case VmStatistics::totalUnCompressedPagesInCompressor: return "totalUnCompressedPagesInCompressor";
    case VmStatistics::compressorPageCount: return "compressorPageCount";
    case VmStatistics::decompressions: return "decompressions";
    case VmStatistics::compressions: return "compressions";
    case VmStatistics::pageIns: return "pageIns";
    case VmStatistics::pageOuts: return "pageOuts";
    case VmStatistics::swapIns: return "swapIns";
    case VmStatistics::swapOuts: return "swapOuts";
    case VmStatistics::usedSwap: return "usedSwap";
    case VmStatistics::totalSwap: return "totalSwap";
    case VmStatistics::pageSize: return "pageSize";
  }
  return "";
}

VmStatisticsDictionary makeVmStatistics(const VmPageCounters& pages, const SwapUsage& swap, uint64_t totalRAM) {
  VmStatisticsDictionary statistics;
  const auto put = [&statistics](VmStatistics key, uint64_t value) {
    statistics.emplace(std::string(rawValue(key)), toInt64Checked(value, rawValue(key)));
  };
  put(VmStatistics::totalRAM, totalRAM);
  put(VmStatistics::freeCount, pages.freeCount);
  put(VmStatistics::activeCount, pages.activeCount);
  put(VmStatistics::inactiveCount, pages.inactiveCount);
  put(VmStatistics::speculativeCount, pages.speculativeCount);
  put(VmStatistics::throttledCount, pages.throttledCount);
  put(VmStatistics::wiredCount, pages.wiredCount);
  put(VmStatistics::purgeableCount, pages.purgeableCount);
  put(VmStatistics::faults, pages.faults);
  put(VmStatistics::cowFaults, pages.cowFaults);
  put(VmStatistics::zeroFillCount, pages.zeroFillCount);
  put(VmStatistics::reactivations, pages.reactivations);
  put(VmStatistics::purges, pages.purges);
  put(VmStatistics::externalPageCount, pages.externalPageCount);
  put(VmStatistics::internalPageCount, pages.internalPageCount);
  put(VmStatistics::totalUnCompressedPagesInCompressor, pages.totalUnCompressedPagesInCompressor);
  put(VmStatistics::compressorPageCount, pages.compressorPageCount);
  put(VmStatistics::decompressions, pages.decompressions);
  put(VmStatistics::compressions, pages.compressions);
  put(VmStatistics::pageIns, pages.pageIns);
  put(VmStatistics::pageOuts, pages.pageOuts);
  put(VmStatistics::swapIns, pages.swapIns);
  put(VmStatistics::swapOuts, pages.swapOuts);
  put(VmStatistics::usedSwap, swap.used);
  put(VmStatistics::totalSwap, swap.total);
  put(VmStatistics::pageSize, swap.pageSize);
  return statistics;
}

HostStatistics::HostStatistics() : HostStatistics(makeHostMemoryReader()) {}

HostStatistics::HostStatistics(std::unique_ptr<IHostMemoryReader> reader) : reader_(std::move(reader)) {}

std::optional<VmStatisticsDictionary> HostStatistics::tryGetVMStatistics() {
  auto pages = reader_->readPageCounters();
  if (!pages) return std::nullopt;
  auto swap = reader_->readSwapUsage();
  if (!swap) return std::nullopt;
  if (!totalRAM) {
    totalRAM = reader_->readPhysicalMemory();
    if (!totalRAM) return std::nullopt;
  }
  return makeVmStatistics(*pages, *swap, *totalRAM);
}

float roundedPercent(int64_t part, int64_t whole) {
  const float percent = static_cast<float>(part) / static_cast<float>(whole) * 100.0F;
  return std::round(percent * 100.0F) / 100.0F;
}

std::optional<MemoryPerfInfo> memoryPerfInfoFrom(const VmStatisticsDictionary& statistics) {
  const auto get = [&statistics](VmStatistics key) -> std::optional<int64_t> {
    auto found = statistics.find(rawValue(key));
    if (found == statistics.end()) return std::nullopt;
    return found->second;
  };
  const auto total = get(VmStatistics::totalRAM);
  const auto active = get(VmStatistics::activeCount);
  const auto compressor = get(VmStatistics::compressorPageCount);
  const auto wired = get(VmStatistics::wiredCount);
  const auto external = get(VmStatistics::externalPageCount);
  const auto pageSize = get(VmStatistics::pageSize);
  if (!total || !active || !compressor || !wired || !external || !pageSize) return std::nullopt;

  constexpr std::string_view what = "the memory in use";
  const int64_t pagesInUse = checkedAdd(checkedAdd(*active, *compressor, what), *wired, what);
  const int64_t inUse = checkedMultiply(pagesInUse, *pageSize, what);
  const int64_t fileBacked = checkedMultiply(*external, *pageSize, "the file-backed memory");

  MemoryPerfInfo info;
  info.totalPhysical = static_cast<uint64_t>(*total);
  info.inUse = static_cast<uint64_t>(inUse);
  info.usagePercent = roundedPercent(inUse, *total);
  info.pageFileUsage = roundedPercent(fileBacked, *total);
  return info;
}

MemoryPerfInfoProvider::MemoryPerfInfoProvider(std::shared_ptr<IHostStatistics> hostStatistics)
    : hostStatistics_(std::move(hostStatistics)) {}

std::optional<MemoryPerfInfo> MemoryPerfInfoProvider::tryGetPerfInfo() {
  auto statistics = hostStatistics_->tryGetVMStatistics();
  auto info = statistics ? memoryPerfInfoFrom(*statistics) : std::nullopt;
  if (!info) {
    Logger::logError("Error: Could not fetch Memory perf info. {}", "Parsing virtual memory attributes failed.");
  }
  return info;
}

}  // namespace sondrel
