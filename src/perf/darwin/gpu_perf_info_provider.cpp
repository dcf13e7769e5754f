// Graphics processors from the IOAccelerator services; system_profiler fills
// names and memory sizes that the registry lacks.

#include "frame/logger.h"
#include "perf/gpu_perf_info.h"

namespace sondrel {

std::optional<std::vector<GPUPerfInfo>> GPUPerfInfoProvider::tryGetGPU() {
  const auto accelerators = ioRegistry_->entries("IOAccelerator", kAcceleratorKeys);
  if (!accelerators) {
    Logger::logError("Error: Could not fetch GPU perf info. {}", "No IOAccelerator services.");
    return std::nullopt;
  }
  std::vector<DisplayAdapter> adapters;
  bool needsProfiler = false;
  for (const auto& accelerator : *accelerators) {
    needsProfiler = needsProfiler || accelerator.find("model") == nullptr;
  }
  if (needsProfiler && systemProfiler_) {
    if (auto listed = systemProfiler_->tryGetDisplays()) adapters = std::move(*listed);
  }
  std::vector<GPUPerfInfo> gpus;
  for (const auto& accelerator : *accelerators) gpus.push_back(gpuFromAccelerator(accelerator, adapters));
  return gpus;
}

}  // namespace sondrel
