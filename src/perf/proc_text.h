#pragma once
// Pure parsers of the Linux kernel's /proc text, bounded by the input and
// tolerant of columns that older or newer kernels add or lack.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "perf/cpu_perf_info.h"
#include "perf/block_device_statistics.h"
#include "perf/memory_perf_info.h"

namespace sondrel {

// The per-processor "cpuN" lines of /proc/stat, folded into the four states the
// record knows: iowait counts as idle; irq, softirq and steal as system. Guest
// time is already inside user and nice and is not added again. Nothing when no
// processor line has at least the four original columns.
[[nodiscard]] std::optional<std::vector<ProcessorTicks>> parseProcStat(std::string_view text);

// "Key:   value kB" lines of /proc/meminfo, in bytes (lines without a unit as they stand).
using MeminfoValues = std::map<std::string, uint64_t, std::less<>>;
[[nodiscard]] MeminfoValues parseMeminfo(std::string_view text);

// /proc/meminfo in the statistics dictionary's terms, counted in pages of
// pageSize bytes. Linux's Active list holds reclaimable file pages, so the
// memory in use is the kernel's own "not available" figure, carried as
// activeCount; wired and compressor pages are inside it and stay zero.
// File-backed pages are Cached plus Buffers.
[[nodiscard]] std::optional<VmPageCounters> pageCountersFromMeminfo(const MeminfoValues& values, uint64_t pageSize);
[[nodiscard]] std::optional<SwapUsage> swapUsageFromMeminfo(const MeminfoValues& values, uint64_t pageSize);
[[nodiscard]] std::optional<uint64_t> physicalMemoryFromMeminfo(const MeminfoValues& values);

// Every device line of /proc/diskstats (sectors are 512 bytes whatever the device's own size).
[[nodiscard]] std::vector<BlockDeviceStatistics> parseDiskstats(std::string_view text);

struct MountEntry {
  std::string device;
  std::string mountPoint;
  std::string type;
};
// The mounts of block devices ("/dev/..."), first mount of each device only,
// without read-only image types (squashfs, iso9660) that have no free space.
[[nodiscard]] std::vector<MountEntry> localVolumesFromMounts(std::string_view text);

}  // namespace sondrel
