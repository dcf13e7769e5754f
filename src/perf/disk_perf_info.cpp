#include "perf/disk_perf_info.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "frame/logger.h"

namespace sondrel {

namespace {

uint64_t perSecond(uint64_t current, uint64_t previous, double seconds) {
  // A disk that went away takes its counts with it; that interval shows no activity.
  if (current < previous) return 0;
  return static_cast<uint64_t>(std::llround(static_cast<double>(current - previous) / seconds));
}

std::optional<uint64_t> statistic(const PlistValue& statistics, std::string_view key) {
  const auto number = findInteger(statistics, key);
  if (!number || *number < 0) return std::nullopt;
  return static_cast<uint64_t>(*number);
}

}  // namespace

BlockDevicePerfInfoProvider::BlockDevicePerfInfoProvider(std::shared_ptr<IORegistry> ioRegistry)
    : ioRegistry_(std::move(ioRegistry)) {}

MediaDevicePerfInfoProvider::MediaDevicePerfInfoProvider(std::shared_ptr<IORegistry> ioRegistry)
    : ioRegistry_(std::move(ioRegistry)) {}

DiskPerfInfoProvider::DiskPerfInfoProvider(std::shared_ptr<IBlockDevicePerfInfoProvider> blockDevice,
                                           std::shared_ptr<IMediaDevicePerfInfoProvider> mediaDevice,
                                           std::shared_ptr<IFileSystemPerfInfoProvider> fileSystem)
    : blockDevice_(std::move(blockDevice)), mediaDevice_(std::move(mediaDevice)), fileSystem_(std::move(fileSystem)) {}

std::optional<DiskPerfInfo> DiskPerfInfoProvider::tryGetPerfInfo() {
  const auto reading = blockDevice_->tryGetStatistics();
  const auto freeSpace = fileSystem_->tryGetTotalFreeSpace();
  if (!reading || !freeSpace) {
    Logger::logError("Error: Could not fetch Disk perf info. {}",
                     !reading ? "No disk statistics." : "No volume figures.");
    return std::nullopt;
  }
  const double seconds = reading->secondsSinceBoot - previousSeconds_;
  if (seconds <= 0) {
    Logger::logError("Error: Could not fetch Disk perf info. {}", "The clock did not advance.");
    return std::nullopt;
  }
  const auto current = sumWholeDisks(reading->devices, mediaDevice_->tryGetWholeDisks());
  DiskPerfInfo info;
  info.readFrequency = perSecond(current.reads, previous_.reads, seconds);
  info.writeFrequency = perSecond(current.writes, previous_.writes, seconds);
  info.readSpeed = perSecond(current.bytesRead, previous_.bytesRead, seconds);
  info.writeSpeed = perSecond(current.bytesWritten, previous_.bytesWritten, seconds);
  info.totalFreeSpace = *freeSpace;
  previous_ = current;
  previousSeconds_ = reading->secondsSinceBoot;
  return info;
}

BlockDeviceStatistics sumWholeDisks(std::span<const BlockDeviceStatistics> devices,
                                    const std::optional<std::vector<std::string>>& wholeDisks) {
  BlockDeviceStatistics sum;
  for (const auto& device : devices) {
    if (wholeDisks && std::find(wholeDisks->begin(), wholeDisks->end(), device.name) == wholeDisks->end()) {
      continue;
    }
    sum.reads += device.reads;
    sum.writes += device.writes;
    sum.bytesRead += device.bytesRead;
    sum.bytesWritten += device.bytesWritten;
  }
  return sum;
}

std::optional<BlockDeviceStatistics> statisticsFromBlockDriver(const RegistryEntry& entry) {
  const auto* statistics = entry.find("Statistics");
  const auto* name = entry.findString("BSD Name");
  if (statistics == nullptr || name == nullptr) return std::nullopt;
  const auto reads = statistic(*statistics, "Operations (Read)");
  const auto writes = statistic(*statistics, "Operations (Write)");
  const auto bytesRead = statistic(*statistics, "Bytes (Read)");
  const auto bytesWritten = statistic(*statistics, "Bytes (Write)");
  if (!reads || !writes || !bytesRead || !bytesWritten) return std::nullopt;
  return BlockDeviceStatistics{*name, *reads, *writes, *bytesRead, *bytesWritten};
}

std::optional<std::string> wholeDiskFromMedia(const RegistryEntry& entry) {
  const auto* whole = entry.find("Whole");
  const auto* name = entry.findString("BSD Name");
  if (whole == nullptr || name == nullptr) return std::nullopt;
  const auto* flag = std::get_if<bool>(&whole->value);
  if (flag == nullptr || !*flag) return std::nullopt;
  return *name;
}

bool isHardwareBlockDeviceName(std::string_view name) {
  // Stacked and memory-backed devices would count the same I/O twice, or none at all.
  for (std::string_view prefix : {"loop", "ram", "zram", "dm-", "md", "nbd", "sr", "fd"}) {
    if (name.starts_with(prefix)) return false;
  }
  return true;
}

std::optional<std::string> wholeDiskFromBlockClass(const RegistryEntry& entry) {
  if (entry.find("partition") != nullptr || !isHardwareBlockDeviceName(entry.name)) return std::nullopt;
  return entry.name;
}

std::string storageKeyFor(std::string_view mountedFrom, uint64_t totalBlocks) {
  std::string_view device = mountedFrom;
  if (device.starts_with("/dev/")) device.remove_prefix(5);
  const auto slice = device.find('s', 4);
  if (device.starts_with("disk") && slice != std::string_view::npos) device = device.substr(0, slice);
  return std::string(device) + "/" + std::to_string(totalBlocks);
}

double sumFreeSpace(std::span<const VolumeSpace> volumes) {
  std::set<std::string_view> seen;
  double total = 0;
  for (const auto& volume : volumes) {
    if (seen.insert(volume.storageKey).second) total += volume.freeBytes;
  }
  return total;
}

}  // namespace sondrel
