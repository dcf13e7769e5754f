#include "perf/device_perf_wiring.h"

#include "frame/command_runner.h"
#include "perf/io_registry.h"
#include "perf/system_profiler.h"

namespace sondrel {

std::shared_ptr<DevicePerfEvents> makeDevicePerfEvents(DevicePerfEventCallback callback) {
  // One command runner and one registry are shared by every provider that
  // needs them. The order is the register function's fixed construction order.
  auto cpu = std::make_shared<CPUPerfInfoProvider>();
  auto network = std::make_shared<NetworkPerfInfoProvider>();
  auto commandRunner = std::make_shared<CommandRunner>();
  auto ioRegistry = std::make_shared<IORegistry>();
  auto systemProfiler = std::make_shared<SystemProfiler>(commandRunner);
  auto gpu = std::make_shared<GPUPerfInfoProvider>(ioRegistry, systemProfiler);
  auto fileSystem = std::make_shared<FileSystemPerfInfoProvider>();
  auto mediaDevice = std::make_shared<MediaDevicePerfInfoProvider>(ioRegistry);
  auto blockDevice = std::make_shared<BlockDevicePerfInfoProvider>(ioRegistry);
  auto disk = std::make_shared<DiskPerfInfoProvider>(blockDevice, mediaDevice, fileSystem);
  auto hostStatistics = std::make_shared<HostStatistics>();
  auto memory = std::make_shared<MemoryPerfInfoProvider>(hostStatistics);
  auto sensor = std::make_shared<TemperatureSensor>(commandRunner);
  auto thermal = std::make_shared<ThermalPerfInfoProvider>(sensor);
  auto battery = std::make_shared<BatteryPerfInfoProvider>(ioRegistry);
  return std::make_shared<DevicePerfEvents>(cpu, gpu, network, disk, memory, thermal, battery, callback);
}

}  // namespace sondrel
