#pragma once
// The periodic device performance sample: seven providers read on a timer,
// one device_perf_event_t assembled, logged and handed to the host.
// Owns: baselineSample, interval, timer_ — touched only on execQueue. The
// callback is behind a gate so that none runs once stopListening returned.

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "frame/callback_gate.h"
#include "frame/dispatch.h"
#include "frame/event_source.h"
#include "perf/battery_perf_info.h"
#include "perf/cpu_perf_info.h"
#include "perf/disk_perf_info.h"
#include "perf/gpu_perf_info.h"
#include "perf/memory_perf_info.h"
#include "perf/network_perf_info.h"
#include "perf/thermal_perf_info.h"
#include "sondrel/sondrel.h"

namespace sondrel {

// Shared with the resource consumer source's queue, as the host's tooling expects.
[[nodiscard]] std::string devicePerfQueueLabel();

// The record in one line, for the system log.
[[nodiscard]] std::string describeDevicePerfEvent(const device_perf_event_t& event);

class DevicePerfEvents final : public IEventSource, public std::enable_shared_from_this<DevicePerfEvents> {
 public:
  DevicePerfEvents(std::shared_ptr<ICPUPerfInfoProvider> cpuPerfInfoProvider,
                   std::shared_ptr<IGPUPerfInfoProvider> gpuPerfInfoProvider,
                   std::shared_ptr<INetworkPerfInfoProvider> networkPerfInfoProvider,
                   std::shared_ptr<IDiskPerfInfoProvider> diskPerfInfoProvider,
                   std::shared_ptr<IMemoryPerfInfoProvider> memoryPerfInfoProvider,
                   std::shared_ptr<IThermalPerfInfoProvider> thermalPerfInfoProvider,
                   std::shared_ptr<IBatteryPerfInfoProvider> batteryPerfInfoProvider,
                   DevicePerfEventCallback eventCallback);
  ~DevicePerfEvents() override;

  // The interval is in seconds as the host gave it; the first sample comes one interval from now.
  void startListening(uint32_t interval);
  void stopListening() override;
  // One sample; the timer calls it on execQueue, tests call it directly.
  void eventTimerCallback();

 private:
  void add(const CPUPerfInfo& cpu, device_perf_event_t& event) const;
  static void add(const std::vector<GPUPerfInfo>& gpus, device_perf_event_t& event);
  static void add(const std::vector<NetworkPerfInfo>& networks, device_perf_event_t& event);
  static void add(const std::vector<BatteryPerfInfo>& batteries, device_perf_event_t& event);
  static void log(const device_perf_event_t& event);

  std::shared_ptr<ICPUPerfInfoProvider> cpuPerfInfoProvider;
  std::shared_ptr<IGPUPerfInfoProvider> gpuPerfInfoProvider;
  std::shared_ptr<INetworkPerfInfoProvider> networkPerfInfoProvider;
  std::shared_ptr<IDiskPerfInfoProvider> diskPerfInfoProvider;
  std::shared_ptr<IMemoryPerfInfoProvider> memoryPerfInfoProvider;
  std::shared_ptr<IThermalPerfInfoProvider> thermalPerfInfoProvider;
  std::shared_ptr<IBatteryPerfInfoProvider> batteryPerfInfoProvider;
  CallbackGate<DevicePerfEventCallback> eventCallback;
  int64_t interval = 5;
  CPUPerfInfo baselineSample{0, 0, 0, 0};
  SerialQueue execQueue;
  std::unique_ptr<RepeatingTimer> timer_;
};

}  // namespace sondrel
