// Batteries from the AppleSmartBattery service.

#include "frame/logger.h"
#include "perf/battery_perf_info.h"

namespace sondrel {

std::optional<std::vector<BatteryPerfInfo>> BatteryPerfInfoProvider::tryGetPerfInfo() {
  const auto services = ioRegistry_->entries("AppleSmartBattery", kSmartBatteryKeys);
  std::vector<BatteryPerfInfo> batteries;
  if (services) {
    for (const auto& service : *services) {
      if (auto battery = batteryFromSmartBattery(service)) batteries.push_back(std::move(*battery));
    }
  }
  if (batteries.empty()) {
    Logger::logDebug("No battery perf info: the machine reports no smart battery.");
    return std::nullopt;
  }
  return batteries;
}

}  // namespace sondrel
