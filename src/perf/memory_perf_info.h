#pragma once
// Physical-memory figures from the kernel's virtual-memory statistics.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace sondrel {

struct MemoryPerfInfo {
  uint64_t totalPhysical = 0;  // bytes
  uint64_t inUse = 0;          // bytes
  float usagePercent = 0;
  float pageFileUsage = 0;  // percent of physical memory that holds file-backed pages

  [[nodiscard]] std::string debugDescription() const;
};

// The keys of the statistics dictionary; rawValue gives each key's text.
enum class VmStatistics {
  totalRAM,
  freeCount,
  activeCount,
  inactiveCount,
  speculativeCount,
  throttledCount,
  wiredCount,
  purgeableCount,
  faults,
  cowFaults,
  zeroFillCount,
  reactivations,
  purges,
  externalPageCount,
  internalPageCount,
  totalUnCompressedPagesInCompressor,
  compressorPageCount,
  decompressions,
  compressions,
  pageIns,
  pageOuts,
  swapIns,
  swapOuts,
  usedSwap,
  totalSwap,
  pageSize,
};

[[nodiscard]] std::string_view rawValue(VmStatistics key);

using VmStatisticsDictionary = std::map<std::string, int64_t, std::less<>>;

// The page counters of the host, as the kernel keeps them (unsigned).
struct VmPageCounters {
  uint64_t freeCount = 0;
  uint64_t activeCount = 0;
  uint64_t inactiveCount = 0;
  uint64_t speculativeCount = 0;
  uint64_t throttledCount = 0;
  uint64_t wiredCount = 0;
  uint64_t purgeableCount = 0;
  uint64_t faults = 0;
  uint64_t cowFaults = 0;
  uint64_t zeroFillCount = 0;
  uint64_t reactivations = 0;
  uint64_t purges = 0;
  uint64_t externalPageCount = 0;
  uint64_t internalPageCount = 0;
  uint64_t totalUnCompressedPagesInCompressor = 0;
  uint64_t compressorPageCount = 0;
  uint64_t decompressions = 0;
  uint64_t compressions = 0;
  uint64_t pageIns = 0;
  uint64_t pageOuts = 0;
  uint64_t swapIns = 0;
  uint64_t swapOuts = 0;
};

struct SwapUsage {
  uint64_t total = 0;     // bytes
  uint64_t used = 0;      // bytes
  uint64_t pageSize = 0;  // bytes
};

// Aborts when an unsigned figure does not fit a signed 64-bit value.
[[nodiscard]] VmStatisticsDictionary makeVmStatistics(const VmPageCounters& pages, const SwapUsage& swap,
                                                      uint64_t totalRAM);

// The three kernel reads behind HostStatistics. Each logs its own failure.
class IHostMemoryReader {
 public:
  virtual ~IHostMemoryReader() = default;
  virtual std::optional<VmPageCounters> readPageCounters() = 0;
  virtual std::optional<SwapUsage> readSwapUsage() = 0;
  virtual std::optional<uint64_t> readPhysicalMemory() = 0;
};

// Mach host statistics and sysctl on macOS, /proc/meminfo on Linux.
[[nodiscard]] std::unique_ptr<IHostMemoryReader> makeHostMemoryReader();

class IHostStatistics {
 public:
  virtual ~IHostStatistics() = default;
  virtual std::optional<VmStatisticsDictionary> tryGetVMStatistics() = 0;
};

// Used from the sampler's queue only, so totalRAM is cached without a lock.
class HostStatistics final : public IHostStatistics {
 public:
  HostStatistics();
  explicit HostStatistics(std::unique_ptr<IHostMemoryReader> reader);
  std::optional<VmStatisticsDictionary> tryGetVMStatistics() override;

  std::optional<uint64_t> totalRAM;

 private:
  std::unique_ptr<IHostMemoryReader> reader_;
};

// part / whole as a percentage rounded to two decimals, half away from zero,
// computed in float as the record carries it.
[[nodiscard]] float roundedPercent(int64_t part, int64_t whole);

// The figures from a statistics dictionary; nothing when a needed key is missing.
[[nodiscard]] std::optional<MemoryPerfInfo> memoryPerfInfoFrom(const VmStatisticsDictionary& statistics);

class IMemoryPerfInfoProvider {
 public:
  virtual ~IMemoryPerfInfoProvider() = default;
  virtual std::optional<MemoryPerfInfo> tryGetPerfInfo() = 0;
};

class MemoryPerfInfoProvider final : public IMemoryPerfInfoProvider {
 public:
  explicit MemoryPerfInfoProvider(std::shared_ptr<IHostStatistics> hostStatistics);
  std::optional<MemoryPerfInfo> tryGetPerfInfo() override;

 private:
  std::shared_ptr<IHostStatistics> hostStatistics_;
};

}  // namespace sondrel
