// Register and unregister of the device performance family.

#include <memory>

#include "frame/command_runner.h"
#include "frame/export_guard.h"
#include "frame/logger.h"
#include "frame/slots.h"
#include "perf/device_perf_events.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

extern "C" {

SONDREL_EXPORT void registerDevicePerfEventsCallback(DevicePerfEventCallback callback, uint32_t interval) {
  guardExport("registerDevicePerfEventsCallback", [&] {
    Logger::logDebug("::registerDevicePerfEventsCallback");
    Slots::devicePerfEvents().registerOnce(
        [&] {
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
        },
        [interval](DevicePerfEvents& source) { source.startListening(interval); });
  });
}

SONDREL_EXPORT void unregisterDevicePerfEventsCallback(void) {
  guardExport("unregisterDevicePerfEventsCallback", [&] {
    Logger::logDebug("::unregisterDevicePerfEventsCallback");
    Slots::devicePerfEvents().unregister();
  });
}

}  // extern "C"
