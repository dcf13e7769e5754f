#include "perf/proc_text.h"

#include <gtest/gtest.h>

namespace sondrel {
namespace {

TEST(ParseProcStat, FoldsTheKernelColumnsIntoFourStates) {
  const auto ticks = parseProcStat(
      "cpu  700 20 300 9000 50 6 7 8 100 10\n"
      "cpu0 300 10 100 4000 20 1 2 3 40 4\n"
      "cpu1 400 10 200 5000 30 5 5 5 60 6\n"
      "intr 123 4 5\nctxt 99\nbtime 1700000000\n");
  ASSERT_TRUE(ticks);
  ASSERT_EQ(ticks->size(), 2U);  // the aggregate line is not a processor
  EXPECT_EQ((*ticks)[0].user, 300U);  // guest is already inside user
  EXPECT_EQ((*ticks)[0].nice, 10U);
  EXPECT_EQ((*ticks)[0].system, 100U + 1 + 2 + 3);
  EXPECT_EQ((*ticks)[0].idle, 4000U + 20);
  EXPECT_EQ((*ticks)[1].system, 215U);
}

TEST(ParseProcStat, OldKernelsWithFewerColumnsStillCount) {
  const auto ticks = parseProcStat("cpu 1 2 3 4\ncpu0 1 2 3 4\ncpu1 5 6 7 8 9\n");
  ASSERT_TRUE(ticks);
  ASSERT_EQ(ticks->size(), 2U);
  EXPECT_EQ((*ticks)[1].idle, 17U);
  EXPECT_EQ((*ticks)[1].system, 7U);
}

TEST(ParseProcStat, MalformedProcessorLinesAreSkipped) {
  EXPECT_FALSE(parseProcStat(""));
  EXPECT_FALSE(parseProcStat("cpu0 1 2 3\ncpufreq 1 2 3 4\ncpu 1 2 3 4\n"));
  const auto ticks = parseProcStat("cpu0 1 2 x 4\ncpu1 1 1 1 1\n");
  ASSERT_TRUE(ticks);
  EXPECT_EQ(ticks->size(), 1U);
}

constexpr const char* kMeminfo =
    "MemTotal:       16000000 kB\n"
    "MemFree:         2000000 kB\n"
    "MemAvailable:   10000000 kB\n"
    "Buffers:          400000 kB\n"
    "Cached:          3600000 kB\n"
    "Inactive:        4000000 kB\n"
    "AnonPages:       5000000 kB\n"
    "SwapTotal:       2097148 kB\n"
    "SwapFree:        1048572 kB\n"
    "HugePages_Total:       0\n";

TEST(Meminfo, ValuesInBytes) {
  const auto values = parseMeminfo(kMeminfo);
  EXPECT_EQ(values.at("MemTotal"), uint64_t{16000000} * 1024);
  EXPECT_EQ(values.at("HugePages_Total"), 0U);
}

TEST(Meminfo, InUseIsWhatIsNotAvailable) {
  const auto values = parseMeminfo(kMeminfo);
  const auto pages = pageCountersFromMeminfo(values, 4096);
  ASSERT_TRUE(pages);
  EXPECT_EQ(pages->activeCount, uint64_t{6000000} * 1024 / 4096);
  EXPECT_EQ(pages->wiredCount, 0U);
  EXPECT_EQ(pages->externalPageCount, uint64_t{4000000} * 1024 / 4096);
  const auto swap = swapUsageFromMeminfo(values, 4096);
  ASSERT_TRUE(swap);
  EXPECT_EQ(swap->used, uint64_t{1048576} * 1024);
  EXPECT_EQ(physicalMemoryFromMeminfo(values), uint64_t{16000000} * 1024);

  const auto statistics = makeVmStatistics(*pages, *swap, *physicalMemoryFromMeminfo(values));
  const auto info = memoryPerfInfoFrom(statistics);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->inUse, uint64_t{6000000} * 1024);
  EXPECT_FLOAT_EQ(info->usagePercent, 37.5F);
  EXPECT_FLOAT_EQ(info->pageFileUsage, 25.0F);
}

TEST(Meminfo, MissingFiguresGiveNothing) {
  const auto noSwap = parseMeminfo("MemTotal: 100 kB\nMemFree: 1 kB\nMemAvailable: 50 kB\nBuffers: 0 kB\nCached: 0 kB\n");
  EXPECT_TRUE(pageCountersFromMeminfo(noSwap, 4096));
  EXPECT_FALSE(swapUsageFromMeminfo(noSwap, 4096));
  // Kernels before 3.14 have no MemAvailable.
  EXPECT_FALSE(pageCountersFromMeminfo(parseMeminfo("MemTotal: 100 kB\nMemFree: 1 kB\nBuffers: 0 kB\nCached: 0 kB\n"), 4096));
  EXPECT_FALSE(physicalMemoryFromMeminfo(parseMeminfo("MemTotal: oops kB\n")));
}

TEST(Diskstats, CountsAndSectorsOfEveryDevice) {
  const auto devices = parseDiskstats(
      " 259       0 nvme0n1 1000 5 80000 300 2000 10 160000 900 0 1200 1300 0 0 0 0\n"
      " 259       1 nvme0n1p1 10 0 800 3 20 0 1600 9 0 12 13\n"
      "   8       0 sda 5 0\n");
  ASSERT_EQ(devices.size(), 2U);
  EXPECT_EQ(devices[0].name, "nvme0n1");
  EXPECT_EQ(devices[0].reads, 1000U);
  EXPECT_EQ(devices[0].bytesRead, uint64_t{80000} * 512);
  EXPECT_EQ(devices[0].writes, 2000U);
  EXPECT_EQ(devices[0].bytesWritten, uint64_t{160000} * 512);
  EXPECT_EQ(devices[1].name, "nvme0n1p1");
}

TEST(Mounts, BlockDevicesOnceEachWithEscapedMountPoints) {
  const auto volumes = localVolumesFromMounts(
      "sysfs /sys sysfs rw 0 0\n"
      "/dev/nvme0n1p2 / ext4 rw,relatime 0 0\n"
      "/dev/nvme0n1p2 /var/lib/docker ext4 rw 0 0\n"
      "/dev/loop3 /snap/core/1 squashfs ro 0 0\n"
      "/dev/sdb1 /media/My\\040Disk vfat rw 0 0\n"
      "/dev/sdc1\n");
  ASSERT_EQ(volumes.size(), 2U);
  EXPECT_EQ(volumes[0].mountPoint, "/");
  EXPECT_EQ(volumes[1].mountPoint, "/media/My Disk");
}

}  // namespace
}  // namespace sondrel
