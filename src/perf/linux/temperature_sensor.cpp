// Processor temperature from /sys/class/thermal zones and /sys/class/hwmon chips.

#include <utility>

#include "frame/logger.h"
#include "perf/thermal_perf_info.h"

namespace sondrel {

TemperatureSensor::TemperatureSensor(std::shared_ptr<ICommandRunner> commandRunner)
    : TemperatureSensor(std::move(commandRunner), "") {}

TemperatureSensor::TemperatureSensor(std::shared_ptr<ICommandRunner> commandRunner, std::string root)
    : commandRunner_(std::move(commandRunner)), registry_(std::move(root)) {}

std::optional<double> TemperatureSensor::tryGetCPUTemperature() {
  std::optional<double> celsius;
  if (const auto zones = registry_.entries("thermal", kThermalZoneKeys)) {
    celsius = cpuTemperatureFromThermalZones(*zones);
  }
  if (!celsius) {
    if (const auto chips = registry_.entries("hwmon", kHwmonKeys)) celsius = cpuTemperatureFromHwmonChips(*chips);
  }
  if (!celsius) {
    Logger::logDebug("No thermal perf info: no processor sensor among the thermal zones and hwmon chips.");
  }
  return celsius;
}

}  // namespace sondrel
