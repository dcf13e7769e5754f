#pragma once
// Disk activity over the last interval and free space over local volumes.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "perf/block_device_statistics.h"
#include "perf/io_registry.h"

namespace sondrel {

struct DiskPerfInfo {
  uint64_t readFrequency = 0;   // read operations per second
  uint64_t writeFrequency = 0;  // write operations per second
  uint64_t readSpeed = 0;       // bytes read per second
  uint64_t writeSpeed = 0;      // bytes written per second
  double totalFreeSpace = 0;    // bytes
};

class IDiskPerfInfoProvider {
 public:
  virtual ~IDiskPerfInfoProvider() = default;
  virtual std::optional<DiskPerfInfo> tryGetPerfInfo() = 0;
};

struct BlockDeviceReading {
  std::vector<BlockDeviceStatistics> devices;
  double secondsSinceBoot = 0;  // when the counters were read
};

// IOBlockStorageDriver statistics on macOS, /proc/diskstats on Linux.
class IBlockDevicePerfInfoProvider {
 public:
  virtual ~IBlockDevicePerfInfoProvider() = default;
  virtual std::optional<BlockDeviceReading> tryGetStatistics() = 0;
};

// The whole physical disks, by name: IOMedia on macOS, /sys/class/block on Linux.
class IMediaDevicePerfInfoProvider {
 public:
  virtual ~IMediaDevicePerfInfoProvider() = default;
  virtual std::optional<std::vector<std::string>> tryGetWholeDisks() = 0;
};

class IFileSystemPerfInfoProvider {
 public:
  virtual ~IFileSystemPerfInfoProvider() = default;
  // Bytes available to users, summed over local volumes (each storage pool once).
  virtual std::optional<double> tryGetTotalFreeSpace() = 0;
};

class BlockDevicePerfInfoProvider final : public IBlockDevicePerfInfoProvider {
 public:
  explicit BlockDevicePerfInfoProvider(std::shared_ptr<IORegistry> ioRegistry);
  std::optional<BlockDeviceReading> tryGetStatistics() override;

 private:
  std::shared_ptr<IORegistry> ioRegistry_;
};

class MediaDevicePerfInfoProvider final : public IMediaDevicePerfInfoProvider {
 public:
  explicit MediaDevicePerfInfoProvider(std::shared_ptr<IORegistry> ioRegistry);
  std::optional<std::vector<std::string>> tryGetWholeDisks() override;

 private:
  std::shared_ptr<IORegistry> ioRegistry_;
};

class FileSystemPerfInfoProvider final : public IFileSystemPerfInfoProvider {
 public:
  std::optional<double> tryGetTotalFreeSpace() override;
};

// Turns cumulative counters into per-second figures. The baseline before the
// first reading is zero at boot, so the first sample is an average since boot,
// as the processor figures are. Used from the sampler's queue only.
class DiskPerfInfoProvider final : public IDiskPerfInfoProvider {
 public:
  DiskPerfInfoProvider(std::shared_ptr<IBlockDevicePerfInfoProvider> blockDevice,
                       std::shared_ptr<IMediaDevicePerfInfoProvider> mediaDevice,
                       std::shared_ptr<IFileSystemPerfInfoProvider> fileSystem);
  std::optional<DiskPerfInfo> tryGetPerfInfo() override;

 private:
  std::shared_ptr<IBlockDevicePerfInfoProvider> blockDevice_;
  std::shared_ptr<IMediaDevicePerfInfoProvider> mediaDevice_;
  std::shared_ptr<IFileSystemPerfInfoProvider> fileSystem_;
  BlockDeviceStatistics previous_;
  double previousSeconds_ = 0;
};

// Sums the devices named in wholeDisks (every device when it is absent).
[[nodiscard]] BlockDeviceStatistics sumWholeDisks(std::span<const BlockDeviceStatistics> devices,
                                                  const std::optional<std::vector<std::string>>& wholeDisks);

// The properties an IOBlockStorageDriver entry is asked for, and its counters.
inline constexpr std::string_view kBlockDriverKeys[] = {"Statistics", "BSD Name"};
[[nodiscard]] std::optional<BlockDeviceStatistics> statisticsFromBlockDriver(const RegistryEntry& entry);

// The properties an IOMedia entry is asked for; its name when it is a whole disk.
inline constexpr std::string_view kMediaKeys[] = {"Whole", "BSD Name"};
[[nodiscard]] std::optional<std::string> wholeDiskFromMedia(const RegistryEntry& entry);

// Whether a /sys/class/block device may be backed by hardware, by its name
// alone (not a loop, RAM or mapped device).
[[nodiscard]] bool isHardwareBlockDeviceName(std::string_view name);
// The attributes a /sys/class/block entry is asked for; its name when it is a
// whole disk backed by hardware (no partitions, loop, RAM or mapped devices).
inline constexpr std::string_view kBlockClassKeys[] = {"partition"};
[[nodiscard]] std::optional<std::string> wholeDiskFromBlockClass(const RegistryEntry& entry);

// One volume as statfs/statvfs reports it.
struct VolumeSpace {
  std::string storageKey;  // volumes with one key share their free space
  double freeBytes = 0;
};
[[nodiscard]] double sumFreeSpace(std::span<const VolumeSpace> volumes);

// The storage key of a macOS volume, from the device it is mounted from and
// its size in blocks. APFS volumes share their container's free space:
// "/dev/disk3s1" and "/dev/disk3s5" are one pool, keyed "disk3" together with
// the pool's size.
[[nodiscard]] std::string storageKeyFor(std::string_view mountedFrom, uint64_t totalBlocks);

}  // namespace sondrel
