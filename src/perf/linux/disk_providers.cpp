// Disk counters from /proc/diskstats, whole disks from /sys/class/block, and
// free space from statvfs over the block-device mounts of /proc/self/mounts.

#include <sys/statvfs.h>

#include "frame/logger.h"
#include "perf/disk_perf_info.h"
#include "perf/linux/small_file.h"
#include "perf/proc_text.h"

namespace sondrel {

std::optional<BlockDeviceReading> BlockDevicePerfInfoProvider::tryGetStatistics() {
  const auto text = readKernelFile(ioRegistry_->root() + "/proc/diskstats");
  if (!text) {
    Logger::logError("Error: Could not read {}.", "/proc/diskstats");
    return std::nullopt;
  }
  return BlockDeviceReading{parseDiskstats(*text), secondsSinceBoot()};
}

std::optional<std::vector<std::string>> MediaDevicePerfInfoProvider::tryGetWholeDisks() {
  const auto devices = ioRegistry_->entries("block", kBlockClassKeys, isHardwareBlockDeviceName);
  if (!devices) {
    Logger::logError("Error: Could not list {}.", "/sys/class/block");
    return std::nullopt;
  }
  std::vector<std::string> disks;
  for (const auto& device : *devices) {
    if (auto disk = wholeDiskFromBlockClass(device)) disks.push_back(std::move(*disk));
  }
  return disks;
}

std::optional<double> FileSystemPerfInfoProvider::tryGetTotalFreeSpace() {
  const auto text = readKernelFile("/proc/self/mounts");
  if (!text) {
    Logger::logError("Error: Could not read {}.", "/proc/self/mounts");
    return std::nullopt;
  }
  std::vector<VolumeSpace> volumes;
  for (const auto& mount : localVolumesFromMounts(*text)) {
    struct statvfs info {};
    if (::statvfs(mount.mountPoint.c_str(), &info) != 0) continue;
    volumes.push_back({mount.device, static_cast<double>(info.f_bavail) * static_cast<double>(info.f_frsize)});
  }
  if (volumes.empty()) {
    Logger::logError("Error: Could not fetch free space. {}", "No local volume answered statvfs.");
    return std::nullopt;
  }
  return sumFreeSpace(volumes);
}

}  // namespace sondrel
