#pragma once
// Processor temperature.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frame/command_runner.h"
#include "perf/io_registry.h"

namespace sondrel {

struct ThermalPerfInfo {
  uint64_t cpuTemperature = 0;  // whole degrees Celsius
};

class IThermalPerfInfoProvider {
 public:
  virtual ~IThermalPerfInfoProvider() = default;
  virtual std::optional<ThermalPerfInfo> tryGetPerfInfo() = 0;
};

class ITemperatureSensor {
 public:
  virtual ~ITemperatureSensor() = default;
  // Degrees Celsius; nothing (and a log line saying why) when no sensor answers.
  virtual std::optional<double> tryGetCPUTemperature() = 0;
};

// The System Management Controller on Intel Macs, the HID temperature
// sensors on Apple silicon, thermal zones and hwmon on Linux. The sensors are
// read through the kernel; the command runner is never used to run a tool
// for them. Used from the sampler's queue only.
class TemperatureSensor final : public ITemperatureSensor {
 public:
  explicit TemperatureSensor(std::shared_ptr<ICommandRunner> commandRunner);
  // Linux: a copy of /sys under root instead of the live one (tests).
  TemperatureSensor(std::shared_ptr<ICommandRunner> commandRunner, std::string root);
  std::optional<double> tryGetCPUTemperature() override;

 private:
  std::shared_ptr<ICommandRunner> commandRunner_;
  IORegistry registry_;
};

class ThermalPerfInfoProvider final : public IThermalPerfInfoProvider {
 public:
  explicit ThermalPerfInfoProvider(std::shared_ptr<ITemperatureSensor> sensor);
  std::optional<ThermalPerfInfo> tryGetPerfInfo() override;

 private:
  std::shared_ptr<ITemperatureSensor> sensor_;
};

// The controller names its keys and data types with four characters packed
// big-endian into 32 bits ("TC0P", "sp78"); a shorter text is padded with
// spaces, as the controller pads its own type names ("flt ").
[[nodiscard]] uint32_t fourCharCode(std::string_view text);
[[nodiscard]] std::string fourCharText(uint32_t code);

// The controller's own encodings of a temperature: "sp78" (signed 8.8 fixed
// point, big-endian) and "flt " (a float in the machine's byte order).
[[nodiscard]] std::optional<double> decodeSmcTemperature(std::string_view dataType, std::span<const uint8_t> bytes);

// Plausible readings only: sensors that are absent read 0 or wild values.
[[nodiscard]] bool isPlausibleTemperature(double celsius);

struct NamedTemperature {
  std::string name;
  double celsius = 0;
};
// The hottest processor-die sensor among Apple silicon's HID sensors.
[[nodiscard]] std::optional<double> cpuTemperatureFromHidSensors(std::span<const NamedTemperature> sensors);

// The attributes asked of /sys/class/thermal zones and /sys/class/hwmon chips.
inline constexpr std::string_view kThermalZoneKeys[] = {"type", "temp"};
inline constexpr std::string_view kHwmonKeys[] = {"name", "temp*_input", "temp*_label"};
// The processor's temperature from the first processor zone that reads plausibly.
// Zones win over hwmon chips, so the chips are read only when no zone answers.
[[nodiscard]] std::optional<double> cpuTemperatureFromThermalZones(std::span<const RegistryEntry> thermalZones);
// The package (or hottest core) temperature of the first chip of a known processor driver.
[[nodiscard]] std::optional<double> cpuTemperatureFromHwmonChips(std::span<const RegistryEntry> hwmonChips);

}  // namespace sondrel
