// Graphics processors from the DRM cards of /sys/class/drm.

#include "frame/logger.h"
#include "perf/gpu_perf_info.h"

namespace sondrel {

std::optional<std::vector<GPUPerfInfo>> GPUPerfInfoProvider::tryGetGPU() {
  const auto cards = ioRegistry_->entries("drm", kDrmCardKeys, isDrmCardName);
  if (!cards) {
    Logger::logDebug("No GPU perf info: the kernel exposes no DRM devices.");
    return std::nullopt;
  }
  std::vector<GPUPerfInfo> gpus;
  for (const auto& card : *cards) {
    if (auto gpu = gpuFromDrmCard(card)) gpus.push_back(std::move(*gpu));
  }
  return gpus;
}

}  // namespace sondrel
