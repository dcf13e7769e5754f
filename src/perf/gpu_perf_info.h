#pragma once
// Graphics processors: identity, memory and current load.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "perf/io_registry.h"
#include "perf/system_profiler.h"

namespace sondrel {

struct GPUPerfInfo {
  std::string modelName;
  uint32_t vendorId = 0;  // PCI vendor id; 0 when the device has none
  uint32_t deviceId = 0;  // PCI device id; 0 when the device has none
  uint64_t totalMemory = 0;  // bytes of dedicated memory; 0 when it has none of its own
  bool integrated = false;
  uint32_t utilization = 0;  // percent busy
};

class IGPUPerfInfoProvider {
 public:
  virtual ~IGPUPerfInfoProvider() = default;
  virtual std::optional<std::vector<GPUPerfInfo>> tryGetGPU() = 0;
};

// IOAccelerator services on macOS, /sys/class/drm cards on Linux.
class GPUPerfInfoProvider final : public IGPUPerfInfoProvider {
 public:
  GPUPerfInfoProvider(std::shared_ptr<IORegistry> ioRegistry, std::shared_ptr<SystemProfiler> systemProfiler);
  std::optional<std::vector<GPUPerfInfo>> tryGetGPU() override;

 private:
  std::shared_ptr<IORegistry> ioRegistry_;
  std::shared_ptr<SystemProfiler> systemProfiler_;
};

// The properties an IOAccelerator entry (or its PCI ancestor) is asked for.
inline constexpr std::string_view kAcceleratorKeys[] = {"PerformanceStatistics", "vendor-id", "device-id",
                                                        "model", "VRAM,totalMB"};
// An accelerator's figures; the profiler's adapters fill a missing model or memory size.
[[nodiscard]] GPUPerfInfo gpuFromAccelerator(const RegistryEntry& entry, std::span<const DisplayAdapter> adapters);

// The attributes a DRM card folder is asked for.
inline constexpr std::string_view kDrmCardKeys[] = {"device/vendor", "device/device", "device/uevent",
                                                    "device/gpu_busy_percent", "device/mem_info_vram_total"};
// Whether a DRM folder is a card ("card0"), not a connector ("card0-HDMI-A-1") or a render node.
[[nodiscard]] bool isDrmCardName(std::string_view name);
// A card's figures; nothing for connector folders and render nodes.
[[nodiscard]] std::optional<GPUPerfInfo> gpuFromDrmCard(const RegistryEntry& entry);

}  // namespace sondrel
