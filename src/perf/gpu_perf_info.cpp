#include "perf/gpu_perf_info.h"

#include <utility>

#include <fmt/format.h>

namespace sondrel {

namespace {

constexpr uint32_t kIntelVendorId = 0x8086;
constexpr uint32_t kAppleVendorId = 0x106b;

std::string textOf(const PlistValue& value) {
  if (const auto* text = value.asString()) return *text;
  // The PCI "model" property is NUL-terminated data.
  if (const auto* data = std::get_if<PlistData>(&value.value)) {
    std::string text(data->begin(), data->end());
    if (auto end = text.find('\0'); end != std::string::npos) text.resize(end);
    return text;
  }
  return {};
}

// The line "KEY=value" of a uevent file.
std::string_view ueventValue(std::string_view uevent, std::string_view key) {
  while (!uevent.empty()) {
    const auto end = uevent.find('\n');
    const auto line = uevent.substr(0, end);
    if (line.size() > key.size() && line.starts_with(key) && line[key.size()] == '=') {
      return line.substr(key.size() + 1);
    }
    if (end == std::string_view::npos) break;
    uevent.remove_prefix(end + 1);
  }
  return {};
}

}  // namespace

GPUPerfInfoProvider::GPUPerfInfoProvider(std::shared_ptr<IORegistry> ioRegistry,
                                         std::shared_ptr<SystemProfiler> systemProfiler)
    : ioRegistry_(std::move(ioRegistry)), systemProfiler_(std::move(systemProfiler)) {}

GPUPerfInfo gpuFromAccelerator(const RegistryEntry& entry, std::span<const DisplayAdapter> adapters) {
  GPUPerfInfo gpu;
  gpu.vendorId = static_cast<uint32_t>(entry.findInteger("vendor-id").value_or(0));
  gpu.deviceId = static_cast<uint32_t>(entry.findInteger("device-id").value_or(0));
  if (const auto* model = entry.find("model")) gpu.modelName = textOf(*model);
  if (const auto megabytes = entry.findInteger("VRAM,totalMB"); megabytes && *megabytes > 0) {
    gpu.totalMemory = static_cast<uint64_t>(*megabytes) << 20;
  }
  if (const auto* statistics = entry.find("PerformanceStatistics")) {
    const auto percent = findInteger(*statistics, "Device Utilization %");
    if (percent && *percent >= 0) gpu.utilization = static_cast<uint32_t>(*percent);
  }
  // Every Mac's Intel and Apple graphics share the system memory; Apple
  // silicon's processor hangs off no PCI bus and has no ids at all.
  gpu.integrated = gpu.vendorId == kIntelVendorId || gpu.vendorId == kAppleVendorId || gpu.vendorId == 0;
  for (const auto& adapter : adapters) {
    if (gpu.deviceId != 0 && adapter.deviceId != gpu.deviceId) continue;
    if (gpu.modelName.empty()) gpu.modelName = adapter.model;
    if (gpu.totalMemory == 0 && !gpu.integrated) gpu.totalMemory = adapter.memoryBytes;
    break;
  }
  return gpu;
}

bool isDrmCardName(std::string_view name) {
  if (!name.starts_with("card") || name.size() == 4) return false;
  for (char c : name.substr(4)) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

std::optional<GPUPerfInfo> gpuFromDrmCard(const RegistryEntry& entry) {
  if (!isDrmCardName(entry.name)) return std::nullopt;
  const auto vendor = entry.findInteger("device/vendor");
  const auto device = entry.findInteger("device/device");
  if (!vendor || !device) return std::nullopt;

  GPUPerfInfo gpu;
  gpu.vendorId = static_cast<uint32_t>(*vendor);
  gpu.deviceId = static_cast<uint32_t>(*device);
  const std::string* uevent = entry.findString("device/uevent");
  const std::string_view driver = uevent != nullptr ? ueventValue(*uevent, "DRIVER") : std::string_view{};
  // sysfs carries no marketing name; the driver and the PCI ids identify the part.
  gpu.modelName = fmt::format("{} [{:04x}:{:04x}]", driver.empty() ? "gpu" : driver, gpu.vendorId, gpu.deviceId);
  if (const auto busy = entry.findInteger("device/gpu_busy_percent"); busy && *busy >= 0) {
    gpu.utilization = static_cast<uint32_t>(*busy);
  }
  if (const auto vram = entry.findInteger("device/mem_info_vram_total"); vram && *vram > 0) {
    gpu.totalMemory = static_cast<uint64_t>(*vram);
  }
  // Processors built into the chipset sit on the root bus: "0000:00:02.0".
  const std::string_view slot = uevent != nullptr ? ueventValue(*uevent, "PCI_SLOT_NAME") : std::string_view{};
  gpu.integrated = slot.size() >= 7 && slot.substr(4, 3) == ":00";
  return gpu;
}

}  // namespace sondrel
