// Batteries from /sys/class/power_supply.

#include "frame/logger.h"
#include "perf/battery_perf_info.h"

namespace sondrel {

std::optional<std::vector<BatteryPerfInfo>> BatteryPerfInfoProvider::tryGetPerfInfo() {
  const auto supplies = ioRegistry_->entries("power_supply", kPowerSupplyKeys);
  std::vector<BatteryPerfInfo> batteries;
  if (supplies) {
    for (const auto& supply : *supplies) {
      if (auto battery = batteryFromPowerSupply(supply)) batteries.push_back(std::move(*battery));
    }
  }
  if (batteries.empty()) {
    Logger::logDebug("No battery perf info: the machine reports no system battery.");
    return std::nullopt;
  }
  return batteries;
}

}  // namespace sondrel
