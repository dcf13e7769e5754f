#include "perf/thermal_perf_info.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <utility>

#include "frame/logger.h"

namespace sondrel {

namespace {

bool contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

std::optional<double> milliCelsius(std::optional<int64_t> number) {
  if (!number) return std::nullopt;
  const double celsius = static_cast<double>(*number) / 1000.0;
  return isPlausibleTemperature(celsius) ? std::optional(celsius) : std::nullopt;
}

bool isProcessorZone(std::string_view type) {
  return type == "x86_pkg_temp" || contains(type, "cpu") || contains(type, "soc") || contains(type, "pkg");
}

bool isProcessorChip(std::string_view name) {
  return name == "coretemp" || name == "k10temp" || name == "zenpower" || contains(name, "cpu") ||
         contains(name, "soc");
}

// The label of an input: "temp1_input" pairs with "temp1_label".
std::string labelKeyFor(std::string_view inputKey) {
  std::string label(inputKey.substr(0, inputKey.size() - std::string_view("_input").size()));
  return label + "_label";
}

bool isPackageLabel(std::string_view label) {
  return label.starts_with("Package id") || label == "Tctl" || label == "Tdie";
}

}  // namespace

ThermalPerfInfoProvider::ThermalPerfInfoProvider(std::shared_ptr<ITemperatureSensor> sensor)
    : sensor_(std::move(sensor)) {}

std::optional<ThermalPerfInfo> ThermalPerfInfoProvider::tryGetPerfInfo() {
  const auto celsius = sensor_->tryGetCPUTemperature();
  if (!celsius) return std::nullopt;
  if (!isPlausibleTemperature(*celsius) || *celsius < 0) {
    Logger::logError("Error: Could not fetch Thermal perf info. Implausible reading {}.", *celsius);
    return std::nullopt;
  }
  return ThermalPerfInfo{static_cast<uint64_t>(std::llround(*celsius))};
}

bool isPlausibleTemperature(double celsius) { return std::isfinite(celsius) && celsius > 0 && celsius < 150; }

uint32_t fourCharCode(std::string_view text) {
  uint32_t code = 0;
  for (size_t i = 0; i < 4; ++i) {
    code = (code << 8) | static_cast<uint8_t>(i < text.size() ? text[i] : ' ');
  }
  return code;
}

std::string fourCharText(uint32_t code) {
  return {static_cast<char>(code >> 24), static_cast<char>(code >> 16), static_cast<char>(code >> 8),
          static_cast<char>(code)};
}

std::optional<double> decodeSmcTemperature(std::string_view dataType, std::span<const uint8_t> bytes) {
  if (dataType == "sp78" && bytes.size() >= 2) {
    const auto raw = static_cast<int16_t>(static_cast<uint16_t>((bytes[0] << 8) | bytes[1]));
    return static_cast<double>(raw) / 256.0;
  }
  if (dataType == "flt " && bytes.size() >= 4) {
    float value = 0;
    std::memcpy(&value, bytes.data(), sizeof value);
    return static_cast<double>(value);
  }
  return std::nullopt;
}

std::optional<double> cpuTemperatureFromHidSensors(std::span<const NamedTemperature> sensors) {
  std::optional<double> hottest;
  for (const auto& sensor : sensors) {
    const bool isDie = contains(sensor.name, "tdie") || contains(sensor.name, "ACC MTR Temp");
    if (!isDie || !isPlausibleTemperature(sensor.celsius)) continue;
    hottest = std::max(hottest.value_or(sensor.celsius), sensor.celsius);
  }
  return hottest;
}

std::optional<double> cpuTemperatureFromThermalZones(std::span<const RegistryEntry> thermalZones) {
  for (const auto& zone : thermalZones) {
    const auto* type = zone.findString("type");
    if (type == nullptr || !isProcessorZone(*type)) continue;
    if (auto celsius = milliCelsius(zone.findInteger("temp"))) return celsius;
  }
  return std::nullopt;
}

std::optional<double> cpuTemperatureFromHwmonChips(std::span<const RegistryEntry> hwmonChips) {
  for (const auto& chip : hwmonChips) {
    const auto* name = chip.findString("name");
    if (name == nullptr || !isProcessorChip(*name)) continue;
    std::optional<double> package;
    std::optional<double> hottest;
    for (const auto& [key, value] : chip.properties) {
      if (!key.ends_with("_input")) continue;
      const auto celsius = milliCelsius(integerValue(value));
      if (!celsius) continue;
      const auto* label = chip.findString(labelKeyFor(key));
      if (label != nullptr && isPackageLabel(*label) && !package) package = celsius;
      hottest = std::max(hottest.value_or(*celsius), *celsius);
    }
    if (package) return package;
    if (hottest) return hottest;
  }
  return std::nullopt;
}

}  // namespace sondrel
