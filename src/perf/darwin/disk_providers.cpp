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

namespace {

// APFS volumes share their container's free space: "/dev/disk3s1" and
// "/dev/disk3s5" are one pool, keyed "disk3" together with the pool's size.
std::string storageKey(const struct statfs& volume) {
  std::string device(volume.f_mntfromname, strnlen(volume.f_mntfromname, sizeof volume.f_mntfromname));
  if (device.rfind("/dev/", 0) == 0) device.erase(0, 5);
  const auto slice = device.find('s', 4);
  if (device.rfind("disk", 0) == 0 && slice != std::string::npos) device.resize(slice);
  return device + "/" + std::to_string(volume.f_blocks);
}

}  // namespace

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
    local.push_back({storageKey(volume), static_cast<double>(volume.f_bavail) * static_cast<double>(volume.f_bsize)});
  }
  return sumFreeSpace(local);
}

}  // namespace sondrel
