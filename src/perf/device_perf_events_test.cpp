#include "perf/device_perf_events.h"

#include <gtest/gtest.h>

#include <cmath>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <string>
#include <vector>

#include "frame/c_strings.h"
#include "test_support/log_capture.h"

namespace sondrel {
namespace {

template <typename T>
struct Scripted {
  std::vector<std::optional<T>> answers;
  size_t next = 0;
  std::optional<T> take() {
    if (answers.empty()) return std::nullopt;
    auto answer = answers[std::min(next, answers.size() - 1)];
    ++next;
    return answer;
  }
};

struct FakeCPU : ICPUPerfInfoProvider, Scripted<CPUPerfInfo> {
  std::optional<CPUPerfInfo> tryGetCPU() override { return take(); }
};
struct FakeGPU : IGPUPerfInfoProvider, Scripted<std::vector<GPUPerfInfo>> {
  std::optional<std::vector<GPUPerfInfo>> tryGetGPU() override { return take(); }
};
struct FakeNetwork : INetworkPerfInfoProvider, Scripted<std::vector<NetworkPerfInfo>> {
  std::optional<std::vector<NetworkPerfInfo>> tryGetNetwork() override { return take(); }
};
struct FakeDisk : IDiskPerfInfoProvider, Scripted<DiskPerfInfo> {
  std::optional<DiskPerfInfo> tryGetPerfInfo() override { return take(); }
};
struct FakeMemory : IMemoryPerfInfoProvider, Scripted<MemoryPerfInfo> {
  std::optional<MemoryPerfInfo> tryGetPerfInfo() override { return take(); }
};
struct FakeThermal : IThermalPerfInfoProvider, Scripted<ThermalPerfInfo> {
  std::optional<ThermalPerfInfo> tryGetPerfInfo() override { return take(); }
};
struct FakeBattery : IBatteryPerfInfoProvider, Scripted<std::vector<BatteryPerfInfo>> {
  std::optional<std::vector<BatteryPerfInfo>> tryGetPerfInfo() override { return take(); }
};

// The C callback has no context: it records into this.
struct Received {
  std::mutex mutex;
  std::condition_variable arrived;
  std::vector<device_perf_event_t> events;
  void (*inside)() = nullptr;
} received;

void recordEvent(device_perf_event_t* event) {
  void (*inside)() = nullptr;
  {
    std::lock_guard lock(received.mutex);
    received.events.push_back(*event);
    inside = received.inside;
  }
  received.arrived.notify_all();
  if (inside != nullptr) inside();
}

class DevicePerfEventsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::lock_guard lock(received.mutex);
    received.events.clear();
    received.inside = nullptr;
  }

  std::shared_ptr<DevicePerfEvents> make() {
    return std::make_shared<DevicePerfEvents>(cpu, gpu, network, disk, memory, thermal, battery, &recordEvent);
  }

  std::vector<device_perf_event_t> events() {
    std::lock_guard lock(received.mutex);
    return received.events;
  }

  std::shared_ptr<FakeCPU> cpu = std::make_shared<FakeCPU>();
  std::shared_ptr<FakeGPU> gpu = std::make_shared<FakeGPU>();
  std::shared_ptr<FakeNetwork> network = std::make_shared<FakeNetwork>();
  std::shared_ptr<FakeDisk> disk = std::make_shared<FakeDisk>();
  std::shared_ptr<FakeMemory> memory = std::make_shared<FakeMemory>();
  std::shared_ptr<FakeThermal> thermal = std::make_shared<FakeThermal>();
  std::shared_ptr<FakeBattery> battery = std::make_shared<FakeBattery>();
  testing::LogCapture logs;
};

TEST_F(DevicePerfEventsTest, PercentagesCompareEachSampleWithThePreviousOne) {
  // user, nice, idle, system
  cpu->answers = {CPUPerfInfo(100, 10, 800, 90), CPUPerfInfo(160, 10, 820, 110)};
  auto sampler = make();
  sampler->eventTimerCallback();
  sampler->eventTimerCallback();
  const auto got = events();
  ASSERT_EQ(got.size(), 2U);
  // The first sample is measured from boot (the zero baseline).
  EXPECT_FLOAT_EQ(got[0].cpu_utilization.user_percent, 10.0F);
  EXPECT_FLOAT_EQ(got[0].cpu_utilization.idle_percent, 80.0F);
  EXPECT_FLOAT_EQ(got[0].cpu_utilization.system_percent, 9.0F);
  EXPECT_FLOAT_EQ(got[0].cpu_utilization.total_time, 20.0F);
  // Then over the 100 ticks between the two: nice takes part only through the total.
  EXPECT_FLOAT_EQ(got[1].cpu_utilization.user_percent, 60.0F);
  EXPECT_FLOAT_EQ(got[1].cpu_utilization.idle_percent, 20.0F);
  EXPECT_FLOAT_EQ(got[1].cpu_utilization.system_percent, 20.0F);
  EXPECT_FLOAT_EQ(got[1].cpu_utilization.total_time, 80.0F);
}

TEST_F(DevicePerfEventsTest, PercentagesNarrowTheQuotientBeforeScaling) {
  cpu->answers = {CPUPerfInfo(1, 0, 2, 0)};
  auto sampler = make();
  sampler->eventTimerCallback();
  const auto got = events();
  ASSERT_EQ(got.size(), 1U);
  EXPECT_EQ(got[0].cpu_utilization.user_percent, static_cast<float>(1.0 / 3.0) * 100.0F);
  EXPECT_EQ(got[0].cpu_utilization.idle_percent, static_cast<float>(2.0 / 3.0) * 100.0F);
}

TEST_F(DevicePerfEventsTest, EqualTotalsPassTheNonFiniteQuotientsOn) {
  cpu->answers = {CPUPerfInfo(5, 0, 5, 0), CPUPerfInfo(5, 0, 5, 0)};
  auto sampler = make();
  sampler->eventTimerCallback();
  sampler->eventTimerCallback();
  const auto got = events();
  ASSERT_EQ(got.size(), 2U);
  EXPECT_TRUE(std::isnan(got[1].cpu_utilization.user_percent));
  EXPECT_TRUE(std::isnan(got[1].cpu_utilization.total_time));
}

TEST_F(DevicePerfEventsTest, AMissingProcessorReadingKeepsTheBaseline) {
  cpu->answers = {CPUPerfInfo(50, 0, 50, 0), std::nullopt, CPUPerfInfo(100, 0, 100, 0)};
  memory->answers = {MemoryPerfInfo{}};
  auto sampler = make();
  for (int i = 0; i < 3; ++i) sampler->eventTimerCallback();
  const auto got = events();
  ASSERT_EQ(got.size(), 3U);
  EXPECT_FLOAT_EQ(got[1].cpu_utilization.user_percent, 0.0F);
  EXPECT_FLOAT_EQ(got[2].cpu_utilization.user_percent, 50.0F);
}

TEST_F(DevicePerfEventsTest, OnlyTheFirstThreeGraphicsProcessorsAreCopied) {
  std::vector<GPUPerfInfo> gpus(4);
  for (uint32_t i = 0; i < 4; ++i) {
    gpus[i].modelName = "GPU " + std::to_string(i);
    gpus[i].vendorId = 0x1002;
    gpus[i].deviceId = 0x7300 + i;
    gpus[i].totalMemory = uint64_t{8} << 30;
    gpus[i].integrated = i == 0;
    gpus[i].utilization = 10 * i;
  }
  gpus[1].modelName = std::string(300, 'm');
  gpu->answers = {gpus};
  auto sampler = make();
  sampler->eventTimerCallback();
  const auto got = events();
  ASSERT_EQ(got.size(), 1U);
  EXPECT_EQ(got[0].gpu_count, 4U);
  EXPECT_STREQ(got[0].gpu_utilization[0].model, "GPU 0");
  EXPECT_EQ(got[0].gpu_utilization[0].integrated, 1U);
  EXPECT_EQ(std::string(got[0].gpu_utilization[1].model), std::string(255, 'm'));
  EXPECT_EQ(got[0].gpu_utilization[1].integrated, 0U);
  EXPECT_EQ(got[0].gpu_utilization[2].device_id, 0x7302U);
  EXPECT_EQ(got[0].gpu_utilization[2].utilization, 20U);
  EXPECT_EQ(got[0].gpu_utilization[2].total_memory, uint64_t{8} << 30);
}

TEST_F(DevicePerfEventsTest, AnEmptyGraphicsListStillCountsAsCollected) {
  gpu->answers = {std::vector<GPUPerfInfo>{}};
  auto sampler = make();
  sampler->eventTimerCallback();
  ASSERT_EQ(events().size(), 1U);
  EXPECT_EQ(events()[0].gpu_count, 0U);
}

TEST_F(DevicePerfEventsTest, NetworkErrorSumsSaturate) {
  network->answers = {std::vector<NetworkPerfInfo>{{"en0", "a", 4000000000U, 7}, {"en1", "b", 4000000000U, 8}}};
  auto sampler = make();
  sampler->eventTimerCallback();
  const auto got = events();
  ASSERT_EQ(got.size(), 1U);
  EXPECT_EQ(got[0].network_info.in_errors, 4294967295U);
  EXPECT_EQ(got[0].network_info.out_errors, 15U);
}

TEST_F(DevicePerfEventsTest, EveryPartIsCopiedIntoTheRecord) {
  disk->answers = {DiskPerfInfo{1, 2, 3, 4, 5.5}};
  memory->answers = {MemoryPerfInfo{100, 40, 40.0F, 12.5F}};
  thermal->answers = {ThermalPerfInfo{61}};
  battery->answers = {std::vector<BatteryPerfInfo>(4, BatteryPerfInfo{std::string(300, 's'), 87, 1.5F, 0.0F})};
  auto sampler = make();
  sampler->eventTimerCallback();
  const auto got = events();
  ASSERT_EQ(got.size(), 1U);
  EXPECT_EQ(got[0].disk_info.write_speed, 4U);
  EXPECT_EQ(got[0].disk_info.total_free_space, 5.5);
  EXPECT_EQ(got[0].memory_info.committed_bytes_in_use, 40U);
  EXPECT_EQ(got[0].memory_info.paging_file_usage, 12.5F);
  EXPECT_EQ(got[0].thermal_info.cpu_temperature, 61U);
  EXPECT_EQ(got[0].battery_count, 4U);
  EXPECT_EQ(std::string(got[0].battery_info[2].serial_no), std::string(255, 's'));
  EXPECT_EQ(got[0].battery_info[2].capacity_remaining, 87U);
  EXPECT_EQ(got[0].battery_info[2].charge_rate, 1.5F);
}

TEST_F(DevicePerfEventsTest, NothingCollectedDropsTheSampleWithOneErrorLine) {
  auto sampler = make();
  sampler->eventTimerCallback();
  EXPECT_TRUE(events().empty());
  EXPECT_EQ(logs.count("Error: Could not create device perf event."), 1U);
  EXPECT_FALSE(logs.contains("dispatching device perf event"));
}

TEST_F(DevicePerfEventsTest, ABatteryAloneIsEnoughForASample) {
  battery->answers = {std::vector<BatteryPerfInfo>{{"serial", 50, 0, 3.25F}}};
  auto sampler = make();
  sampler->eventTimerCallback();
  const auto got = events();
  ASSERT_EQ(got.size(), 1U);
  EXPECT_EQ(got[0].battery_count, 1U);
  EXPECT_EQ(got[0].battery_info[0].discharge_rate, 3.25F);
  EXPECT_EQ(got[0].cpu_utilization.user_percent, 0.0F);
  EXPECT_EQ(got[0].memory_info.total_physical, 0U);
  EXPECT_FALSE(logs.contains("Error: Could not create device perf event."));
  EXPECT_TRUE(logs.contains("dispatching device perf event"));
}

TEST_F(DevicePerfEventsTest, ATickDifferenceBeyondSixtyFourBitsIsFatal) {
  cpu->answers = {CPUPerfInfo(-10, 0, 10, 0), CPUPerfInfo(std::numeric_limits<int64_t>::max(), 0, 0, 0)};
  auto sampler = make();
  sampler->eventTimerCallback();
  EXPECT_DEATH(sampler->eventTimerCallback(), "");
}

TEST(DevicePerfQueue, LabelIsTheLibraryPrefixAndTheSharedSuffix) {
  EXPECT_EQ(devicePerfQueueLabel(), "dev.sondrel.libsondrel.dylib.reourceConsumerEvents");
}

TEST_F(DevicePerfEventsTest, TimerSamplesUntilStopAndNeverCallsBackAfterwards) {
  memory->answers = {MemoryPerfInfo{1, 1, 1, 1}};
  auto sampler = make();
  sampler->startListening(1);
  {
    std::unique_lock lock(received.mutex);
    ASSERT_TRUE(received.arrived.wait_for(lock, std::chrono::seconds(10), [] { return !received.events.empty(); }));
  }
  sampler->stopListening();
  const size_t atStop = events().size();
  sampler->eventTimerCallback();  // a late tick after stop must not reach the host
  EXPECT_EQ(events().size(), atStop);
}

std::shared_ptr<DevicePerfEvents> stoppedFromInside;
void stopFromInside() { stoppedFromInside->stopListening(); }

TEST_F(DevicePerfEventsTest, StopFromInsideTheCallbackReturnsAndEndsDelivery) {
  memory->answers = {MemoryPerfInfo{1, 1, 1, 1}};
  stoppedFromInside = make();
  {
    std::lock_guard lock(received.mutex);
    received.inside = &stopFromInside;
  }
  stoppedFromInside->startListening(1);
  {
    std::unique_lock lock(received.mutex);
    ASSERT_TRUE(received.arrived.wait_for(lock, std::chrono::seconds(10), [] { return !received.events.empty(); }));
  }
  stoppedFromInside->stopListening();
  stoppedFromInside->eventTimerCallback();
  EXPECT_EQ(events().size(), 1U);
  stoppedFromInside.reset();
}

TEST(DevicePerfDescription, OneLineWithEveryPart) {
  device_perf_event_t event{};
  event.gpu_count = 1;
  CommonUtils::copyCString("Radeon", event.gpu_utilization[0].model);
  event.thermal_info.cpu_temperature = 55;
  const auto text = describeDevicePerfEvent(event);
  EXPECT_EQ(text.find('\n'), std::string::npos);
  EXPECT_NE(text.find("Radeon"), std::string::npos);
  EXPECT_NE(text.find("55 C"), std::string::npos);
}

}  // namespace
}  // namespace sondrel
