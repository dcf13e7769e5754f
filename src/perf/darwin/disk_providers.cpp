// Disk counters from the IOBlockStorageDriver services, whole disks from
// IOMedia, and free space from getfsstat over local volumes.

#include <sys/mount.h>
#include <sys/param.h>
#include <time.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "frame/logger.h"
#include "perf/disk_perf_info.h"

namespace sondrel {

std::optional<BlockDeviceReading> BlockDevicePerfInfoProvider::tryGetStatistics() {
  const auto drivers = ioRegistry_->entries("IOBlockStorageDriver", kBlockDriverKeys);
  if (!drivers) return std::nullopt;
  BlockDeviceReading reading;
  for (const auto& driver : *drivers) {
    if (auto statistics = statisticsFromBlockDriver(driver)) reading.devices.push_back(std::move(*statistics));
  }
  // CLOCK_MONOTONIC counts on through sleep, as the drivers' counters do.
  reading.secondsSinceBoot = static_cast<double>(clock_gettime_nsec_np(CLOCK_MONOTONIC)) / 1e9;
  return reading;
}

std::optional<std::vector<std::string>> MediaDevicePerfInfoProvider::tryGetWholeDisks() {
  const auto media = ioRegistry_->entries("IOMedia", kMediaKeys);
  if (!media) return std::nullopt;
  std::vector<std::string> disks;
  for (const auto& entry : *media) {
    if (auto disk = wholeDiskFromMedia(entry)) disks.push_back(std::move(*disk));
  }
  return disks;
}

std::optional<double> FileSystemPerfInfoProvider::tryGetTotalFreeSpace() {
  const int count = getfsstat(nullptr, 0, MNT_NOWAIT);
  if (count <= 0) {
    Logger::logError("Error: Could not fetch free space. getfsstat() failed: {}", std::strerror(errno));
    return std::nullopt;
  }
  std::vector<struct statfs> volumes(static_cast<size_t>(count));
  const int filled = getfsstat(volumes.data(), static_cast<int>(volumes.size() * sizeof(struct statfs)), MNT_NOWAIT);
  if (filled <= 0) {
    Logger::logError("Error: Could not fetch free space. getfsstat() failed: {}", std::strerror(errno));
    return std::nullopt;
  }
  std::vector<VolumeSpace> local;
  for (int i = 0; i < filled && i < count; ++i) {
    const auto& volume = volumes[static_cast<size_t>(i)];
    if ((volume.f_flags & MNT_LOCAL) == 0) continue;
    const std::string_view mountedFrom(volume.f_mntfromname,
                                       strnlen(volume.f_mntfromname, sizeof volume.f_mntfromname));
    local.push_back({storageKeyFor(mountedFrom, volume.f_blocks),
                     static_cast<double>(volume.f_bavail) * static_cast<double>(volume.f_bsize)});
  }
  return sumFreeSpace(local);
}

}  // namespace sondrel
