// The Linux providers against this machine's own kernel.

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

#include "perf/cpu_perf_info.h"
#include "perf/device_perf_events.h"
#include "perf/device_perf_wiring.h"
#include "perf/disk_perf_info.h"
#include "perf/memory_perf_info.h"
#include "perf/network_perf_info.h"

namespace sondrel {
namespace {

uint64_t memTotalBytes() {
  std::ifstream meminfo("/proc/meminfo");
  std::string key;
  uint64_t kilobytes = 0;
  while (meminfo >> key >> kilobytes) {
    if (key == "MemTotal:") return kilobytes * 1024;
    meminfo.ignore(1024, '\n');
  }
  return 0;
}

TEST(DevicePerfLive, ProcessorPercentagesOverOneSecondSumToAHundred) {
  CPUPerfInfoProvider provider;
  const auto first = provider.tryGetCPU();
  ASSERT_TRUE(first);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  const auto second = provider.tryGetCPU();
  ASSERT_TRUE(second);
  const double elapsed = second->totalTime() - first->totalTime();
  ASSERT_GT(elapsed, 0);
  const double user = static_cast<double>(second->userTime() - first->userTime()) / elapsed * 100;
  const double idle = static_cast<double>(second->idleTime() - first->idleTime()) / elapsed * 100;
  const double system = static_cast<double>(second->systemTime() - first->systemTime()) / elapsed * 100;
  const double nice = static_cast<double>(second->niceTime() - first->niceTime()) / elapsed * 100;
  EXPECT_NEAR(user + idle + system + nice, 100.0, 0.5);
}

TEST(DevicePerfLive, TotalMemoryIsMemTotal) {
  MemoryPerfInfoProvider provider(std::make_shared<HostStatistics>());
  const auto memory = provider.tryGetPerfInfo();
  ASSERT_TRUE(memory);
  EXPECT_EQ(memory->totalPhysical, memTotalBytes());
  EXPECT_GT(memory->inUse, 0U);
  EXPECT_LT(memory->inUse, memory->totalPhysical);
  EXPECT_GT(memory->usagePercent, 0.0F);
  EXPECT_LT(memory->usagePercent, 100.0F);
}

TEST(DevicePerfLive, NetworkAndDiskAnswer) {
  NetworkPerfInfoProvider network;
  const auto interfaces = network.tryGetNetwork();
  ASSERT_TRUE(interfaces);
  for (const auto& entry : *interfaces) EXPECT_NE(entry.interfaceName, "lo");

  auto registry = std::make_shared<IORegistry>();
  DiskPerfInfoProvider disk(std::make_shared<BlockDevicePerfInfoProvider>(registry),
                            std::make_shared<MediaDevicePerfInfoProvider>(registry),
                            std::make_shared<FileSystemPerfInfoProvider>());
  const auto figures = disk.tryGetPerfInfo();
  ASSERT_TRUE(figures);
  EXPECT_GT(figures->totalFreeSpace, 0.0);
}

device_perf_event_t lastEvent{};
int eventCount = 0;
void keep(device_perf_event_t* event) {
  lastEvent = *event;
  ++eventCount;
}

TEST(DevicePerfLive, ASampleThroughTheSamplerIsComplete) {
  auto sampler = makeDevicePerfEvents(&keep);
  sampler->eventTimerCallback();
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  sampler->eventTimerCallback();
  ASSERT_EQ(eventCount, 2);
  const auto& cpu = lastEvent.cpu_utilization;
  EXPECT_NEAR(cpu.total_time + cpu.idle_percent, 100.0F, 0.5F);
  EXPECT_EQ(lastEvent.memory_info.total_physical, memTotalBytes());
}

}  // namespace
}  // namespace sondrel
