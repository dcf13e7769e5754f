#include "perf/battery_perf_info.h"

#include <cmath>
#include <cstdlib>
#include <utility>

namespace sondrel {

namespace {

bool flagAt(const RegistryEntry& entry, std::string_view key) {
  const auto* value = entry.find(key);
  const auto* flag = value != nullptr ? std::get_if<bool>(&value->value) : nullptr;
  return flag != nullptr && *flag;
}

// Positive watts go to the charge rate, negative to the discharge rate.
void setRates(BatteryPerfInfo& battery, double watts) {
  if (watts > 0) battery.chargeRate = static_cast<float>(watts);
  if (watts < 0) battery.dischargeRate = static_cast<float>(-watts);
}

}  // namespace

BatteryPerfInfoProvider::BatteryPerfInfoProvider(std::shared_ptr<IORegistry> ioRegistry)
    : ioRegistry_(std::move(ioRegistry)) {}

std::optional<BatteryPerfInfo> batteryFromSmartBattery(const RegistryEntry& entry) {
  const auto current = entry.findInteger("CurrentCapacity");
  const auto maximum = entry.findInteger("MaxCapacity");
  if (!current || !maximum || *maximum <= 0 || *current < 0) return std::nullopt;
  BatteryPerfInfo battery;
  for (std::string_view key : {"BatterySerialNumber", "Serial"}) {
    if (const auto* serial = entry.findString(key)) {
      battery.serialNumber = *serial;
      break;
    }
  }
  // Apple silicon reports CurrentCapacity in percent against a MaxCapacity of
  // 100; Intel machines in mAh against the full-charge mAh. One ratio serves both.
  battery.capacityRemaining = static_cast<uint64_t>(std::llround(100.0 * static_cast<double>(*current) /
                                                                 static_cast<double>(*maximum)));
  const auto millivolts = entry.findInteger("Voltage");
  const auto milliamperes = entry.findInteger("Amperage");
  if (millivolts && milliamperes) {
    const double watts = static_cast<double>(*millivolts) * static_cast<double>(*milliamperes) / 1e6;
    // Amperage is positive while charging; trust it over IsCharging, which
    // stays set at full charge while no current flows.
    setRates(battery, watts);
    if (watts > 0 && !flagAt(entry, "ExternalConnected")) battery.chargeRate = 0;
  }
  return battery;
}

std::optional<BatteryPerfInfo> batteryFromPowerSupply(const RegistryEntry& entry) {
  const auto* type = entry.findString("type");
  if (type == nullptr || *type != "Battery") return std::nullopt;
  if (const auto* scope = entry.findString("scope"); scope != nullptr && *scope == "Device") return std::nullopt;
  const auto capacity = entry.findInteger("capacity");
  if (!capacity || *capacity < 0) return std::nullopt;

  BatteryPerfInfo battery;
  if (const auto* serial = entry.findString("serial_number")) battery.serialNumber = *serial;
  battery.capacityRemaining = static_cast<uint64_t>(*capacity);

  std::optional<double> watts;
  if (const auto microwatts = entry.findInteger("power_now")) {
    watts = static_cast<double>(std::llabs(*microwatts)) / 1e6;
  } else if (const auto microamperes = entry.findInteger("current_now")) {
    if (const auto microvolts = entry.findInteger("voltage_now")) {
      watts = static_cast<double>(std::llabs(*microamperes)) * static_cast<double>(*microvolts) / 1e12;
    }
  }
  // The kernel's figures are magnitudes on most drivers; the status gives the direction.
  const auto* status = entry.findString("status");
  if (watts && status != nullptr) {
    if (*status == "Charging") setRates(battery, *watts);
    if (*status == "Discharging") setRates(battery, -*watts);
  }
  return battery;
}

}  // namespace sondrel
