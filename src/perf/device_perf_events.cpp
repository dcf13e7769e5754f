#include "perf/device_perf_events.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

#include <fmt/format.h>

#include "frame/c_strings.h"
#include "frame/logger.h"
#include "perf/checked_math.h"

namespace sondrel {

namespace {

// The quotient is narrowed to float before it is scaled, so the figures match
// what the record always carried.
float percentOf(double part, double whole) { return static_cast<float>(part / whole) * 100.0F; }

}  // namespace

std::string devicePerfQueueLabel() { return std::string(Logger::libSondrelSubsystem) + ".reourceConsumerEvents"; }

std::string describeDevicePerfEvent(const device_perf_event_t& event) {
  std::string text = fmt::format(
      "device perf event: cpu(user {}%, idle {}%, system {}%, busy {}%) gpu_count {}", event.cpu_utilization.user_percent,
      event.cpu_utilization.idle_percent, event.cpu_utilization.system_percent, event.cpu_utilization.total_time,
      event.gpu_count);
  for (size_t i = 0; i < std::min<size_t>(event.gpu_count, std::size(event.gpu_utilization)); ++i) {
    const auto& gpu = event.gpu_utilization[i];
    text += fmt::format(" gpu[{}](model '{}', vendor {:#x}, device {:#x}, memory {}, integrated {}, busy {}%)", i,
                        gpu.model, gpu.vendor_id, gpu.device_id, gpu.total_memory, gpu.integrated, gpu.utilization);
  }
  text += fmt::format(
      " network(in_errors {}, out_errors {}) disk(reads/s {}, writes/s {}, read B/s {}, write B/s {}, free {}) "
      "memory(total {}, in use {}, usage {}%, file-backed {}%) thermal({} C) battery_count {}",
      event.network_info.in_errors, event.network_info.out_errors, event.disk_info.read_frequency,
      event.disk_info.write_frequency, event.disk_info.read_speed, event.disk_info.write_speed,
      event.disk_info.total_free_space, event.memory_info.total_physical, event.memory_info.committed_bytes_in_use,
      event.memory_info.usage_percent, event.memory_info.paging_file_usage, event.thermal_info.cpu_temperature,
      event.battery_count);
  for (size_t i = 0; i < std::min<size_t>(event.battery_count, std::size(event.battery_info)); ++i) {
    const auto& battery = event.battery_info[i];
    text += fmt::format(" battery[{}](serial '{}', capacity {}%, charge {} W, discharge {} W)", i,
                        battery.serial_no, battery.capacity_remaining, battery.charge_rate, battery.discharge_rate);
  }
  return text;
}

DevicePerfEvents::DevicePerfEvents(std::shared_ptr<ICPUPerfInfoProvider> cpuPerfInfoProvider,
                                   std::shared_ptr<IGPUPerfInfoProvider> gpuPerfInfoProvider,
                                   std::shared_ptr<INetworkPerfInfoProvider> networkPerfInfoProvider,
                                   std::shared_ptr<IDiskPerfInfoProvider> diskPerfInfoProvider,
                                   std::shared_ptr<IMemoryPerfInfoProvider> memoryPerfInfoProvider,
                                   std::shared_ptr<IThermalPerfInfoProvider> thermalPerfInfoProvider,
                                   std::shared_ptr<IBatteryPerfInfoProvider> batteryPerfInfoProvider,
                                   DevicePerfEventCallback eventCallback)
    : cpuPerfInfoProvider(std::move(cpuPerfInfoProvider)),
      gpuPerfInfoProvider(std::move(gpuPerfInfoProvider)),
      networkPerfInfoProvider(std::move(networkPerfInfoProvider)),
      diskPerfInfoProvider(std::move(diskPerfInfoProvider)),
      memoryPerfInfoProvider(std::move(memoryPerfInfoProvider)),
      thermalPerfInfoProvider(std::move(thermalPerfInfoProvider)),
      batteryPerfInfoProvider(std::move(batteryPerfInfoProvider)),
      eventCallback(eventCallback),
      execQueue(devicePerfQueueLabel()) {}

DevicePerfEvents::~DevicePerfEvents() = default;

void DevicePerfEvents::startListening(uint32_t seconds) {
  execQueue.async([weakSelf = weak_from_this(), seconds] {
    auto self = weakSelf.lock();
    if (!self) return;
    self->interval = seconds;
    self->timer_ = std::make_unique<RepeatingTimer>(self->execQueue, std::chrono::seconds(seconds), [weakSelf] {
      if (auto sampler = weakSelf.lock()) sampler->eventTimerCallback();
    });
  });
}

void DevicePerfEvents::stopListening() {
  eventCallback.close();
  // Waiting for the queue keeps a sample from starting after stop; from the
  // host's own callback the queue is already ours and the timer is dropped inline.
  execQueue.sync([this] { timer_.reset(); });
}

void DevicePerfEvents::eventTimerCallback() {
  device_perf_event_t event{};
  bool collected = false;

  if (auto cpu = cpuPerfInfoProvider->tryGetCPU()) {
    add(*cpu, event);
    baselineSample = *cpu;
    collected = true;
  }
  if (auto gpus = gpuPerfInfoProvider->tryGetGPU()) {
    add(*gpus, event);
    collected = true;
  }
  if (auto networks = networkPerfInfoProvider->tryGetNetwork()) {
    add(*networks, event);
    collected = true;
  }
  if (auto disk = diskPerfInfoProvider->tryGetPerfInfo()) {
    event.disk_info.read_frequency = disk->readFrequency;
    event.disk_info.write_frequency = disk->writeFrequency;
    event.disk_info.read_speed = disk->readSpeed;
    event.disk_info.write_speed = disk->writeSpeed;
    event.disk_info.total_free_space = disk->totalFreeSpace;
    collected = true;
  }
  if (auto memory = memoryPerfInfoProvider->tryGetPerfInfo()) {
    event.memory_info.total_physical = memory->totalPhysical;
    event.memory_info.committed_bytes_in_use = memory->inUse;
    event.memory_info.usage_percent = memory->usagePercent;
    event.memory_info.paging_file_usage = memory->pageFileUsage;
    collected = true;
  }
  if (auto thermal = thermalPerfInfoProvider->tryGetPerfInfo()) {
    event.thermal_info.cpu_temperature = thermal->cpuTemperature;
    collected = true;
  }
  // A battery list alone lets the sample go out without counting as collected.
  if (auto batteries = batteryPerfInfoProvider->tryGetPerfInfo()) {
    add(*batteries, event);
  } else if (!collected) {
    Logger::logError("Error: Could not create device perf event.");
    return;
  }

  log(event);
  eventCallback.invoke(&event);
}

void DevicePerfEvents::add(const CPUPerfInfo& cpu, device_perf_event_t& event) const {
  const CPUPerfInfo& base = baselineSample;
  const double elapsed = cpu.totalTime() - base.totalTime();
  const auto delta = [](int64_t current, int64_t previous) {
    return static_cast<double>(checkedSubtract(current, previous, "a processor tick difference"));
  };
  event.cpu_utilization.user_percent = percentOf(delta(cpu.userTime(), base.userTime()), elapsed);
  event.cpu_utilization.idle_percent = percentOf(delta(cpu.idleTime(), base.idleTime()), elapsed);
  event.cpu_utilization.system_percent = percentOf(delta(cpu.systemTime(), base.systemTime()), elapsed);
  const double busy = (cpu.totalTime() - static_cast<double>(cpu.idleTime())) -
                      (base.totalTime() - static_cast<double>(base.idleTime()));
  event.cpu_utilization.total_time = percentOf(busy, elapsed);
}

void DevicePerfEvents::add(const std::vector<GPUPerfInfo>& gpus, device_perf_event_t& event) {
  event.gpu_count = toUInt32Checked(gpus.size(), "the graphics processor count");
  for (size_t i = 0; i < std::min(gpus.size(), std::size(event.gpu_utilization)); ++i) {
    const auto& gpu = gpus[i];
    auto& entry = event.gpu_utilization[i];
    CommonUtils::copyCString(gpu.modelName, entry.model);
    entry.vendor_id = gpu.vendorId;
    entry.device_id = gpu.deviceId;
    entry.total_memory = gpu.totalMemory;
    entry.integrated = gpu.integrated ? 1 : 0;
    entry.utilization = gpu.utilization;
  }
}

void DevicePerfEvents::add(const std::vector<NetworkPerfInfo>& networks, device_perf_event_t& event) {
  constexpr uint64_t kMax = std::numeric_limits<uint32_t>::max();
  uint64_t inErrors = 0;
  uint64_t outErrors = 0;
  for (const auto& network : networks) {
    inErrors = std::min(kMax, inErrors + network.inErrors);
    outErrors = std::min(kMax, outErrors + network.outErrors);
  }
  event.network_info.in_errors = static_cast<uint32_t>(inErrors);
  event.network_info.out_errors = static_cast<uint32_t>(outErrors);
}

void DevicePerfEvents::add(const std::vector<BatteryPerfInfo>& batteries, device_perf_event_t& event) {
  event.battery_count = toUInt32Checked(batteries.size(), "the battery count");
  for (size_t i = 0; i < std::min(batteries.size(), std::size(event.battery_info)); ++i) {
    const auto& battery = batteries[i];
    auto& entry = event.battery_info[i];
    CommonUtils::copyCString(battery.serialNumber, entry.serial_no);
    entry.capacity_remaining = battery.capacityRemaining;
    entry.charge_rate = battery.chargeRate;
    entry.discharge_rate = battery.dischargeRate;
  }
}

void DevicePerfEvents::log(const device_perf_event_t& event) {
  Logger::logDebug("dispatching device perf event");
  Logger::shared().logNative(LogLevel::debug, Logger::libSondrelSubsystem, "", describeDevicePerfEvent(event));
}

}  // namespace sondrel
