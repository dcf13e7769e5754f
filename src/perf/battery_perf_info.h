#pragma once
// Batteries: charge left and the power flowing in or out.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "perf/io_registry.h"

namespace sondrel {

struct BatteryPerfInfo {
  std::string serialNumber;
  uint64_t capacityRemaining = 0;  // percent of full charge
  float chargeRate = 0;            // watts flowing in; 0 while not charging
  float dischargeRate = 0;         // watts flowing out; 0 while not discharging
};

class IBatteryPerfInfoProvider {
 public:
  virtual ~IBatteryPerfInfoProvider() = default;
  virtual std::optional<std::vector<BatteryPerfInfo>> tryGetPerfInfo() = 0;
};

// The smart battery (AppleSmartBattery) on macOS, /sys/class/power_supply on Linux.
class BatteryPerfInfoProvider final : public IBatteryPerfInfoProvider {
 public:
  explicit BatteryPerfInfoProvider(std::shared_ptr<IORegistry> ioRegistry);
  std::optional<std::vector<BatteryPerfInfo>> tryGetPerfInfo() override;

 private:
  std::shared_ptr<IORegistry> ioRegistry_;
};

// The properties an AppleSmartBattery entry is asked for, and its figures.
// Voltage is in millivolts and Amperage in milliamperes, negative while discharging.
inline constexpr std::string_view kSmartBatteryKeys[] = {"BatterySerialNumber", "Serial",    "CurrentCapacity",
                                                         "MaxCapacity",         "Voltage",   "Amperage",
                                                         "IsCharging",          "ExternalConnected"};
[[nodiscard]] std::optional<BatteryPerfInfo> batteryFromSmartBattery(const RegistryEntry& entry);

// The attributes a power_supply folder is asked for; nothing for mains
// adapters and for batteries of attached devices (mice, keyboards).
inline constexpr std::string_view kPowerSupplyKeys[] = {"type",        "scope",       "status",
                                                        "capacity",    "power_now",   "current_now",
                                                        "voltage_now", "serial_number"};
[[nodiscard]] std::optional<BatteryPerfInfo> batteryFromPowerSupply(const RegistryEntry& entry);

}  // namespace sondrel
