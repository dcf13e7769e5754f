#include "perf/proc_text.h"

#include <charconv>
#include <set>

#include "frame/text_fields.h"

namespace sondrel {

namespace {

std::optional<uint64_t> toNumber(std::string_view field) { return parseWhole<uint64_t>(field); }

bool isProcessorLabel(std::string_view label) {
  if (!label.starts_with("cpu") || label.size() == 3) return false;
  return toNumber(label.substr(3)).has_value();
}

// Mount points escape blanks and backslashes as octal ("\040").
std::string unescapeMountField(std::string_view field) {
  std::string text;
  text.reserve(field.size());
  for (size_t i = 0; i < field.size(); ++i) {
    if (field[i] == '\\' && i + 3 < field.size()) {
      const auto octal = field.substr(i + 1, 3);
      int value = 0;
      if (std::from_chars(octal.data(), octal.data() + 3, value, 8).ec == std::errc() && value < 256) {
        text.push_back(static_cast<char>(value));
        i += 3;
        continue;
      }
    }
    text.push_back(field[i]);
  }
  return text;
}

}  // namespace

std::optional<std::vector<ProcessorTicks>> parseProcStat(std::string_view text) {
  std::vector<ProcessorTicks> processors;
  while (!text.empty()) {
    auto line = nextLine(text);
    if (!isProcessorLabel(nextField(line))) continue;
    // user nice system idle iowait irq softirq steal guest guest_nice
    uint64_t columns[8] = {};
    size_t count = 0;
    bool valid = true;
    for (; count < 8; ++count) {
      const auto field = nextField(line);
      if (field.empty()) break;
      const auto value = toNumber(field);
      if (!value) {
        valid = false;
        break;
      }
      columns[count] = *value;
    }
    if (!valid || count < 4) continue;
    ProcessorTicks ticks;
    ticks.user = columns[0];
    ticks.nice = columns[1];
    ticks.system = columns[2] + columns[5] + columns[6] + columns[7];
    ticks.idle = columns[3] + columns[4];
    processors.push_back(ticks);
  }
  if (processors.empty()) return std::nullopt;
  return processors;
}

MeminfoValues parseMeminfo(std::string_view text) {
  MeminfoValues values;
  while (!text.empty()) {
    auto line = nextLine(text);
    const auto colon = line.find(':');
    if (colon == std::string_view::npos || colon == 0) continue;
    const auto key = line.substr(0, colon);
    line.remove_prefix(colon + 1);
    const auto number = toNumber(nextField(line));
    if (!number) continue;
    const auto unit = nextField(line);
    if (unit == "kB") {
      if (*number > UINT64_MAX / 1024) continue;
      values.emplace(std::string(key), *number * 1024);
    } else if (unit.empty()) {
      values.emplace(std::string(key), *number);
    }
  }
  return values;
}

std::optional<VmPageCounters> pageCountersFromMeminfo(const MeminfoValues& values, uint64_t pageSize) {
  const auto get = [&values](std::string_view key) -> std::optional<uint64_t> {
    auto found = values.find(key);
    return found == values.end() ? std::nullopt : std::optional(found->second);
  };
  const auto total = get("MemTotal");
  const auto available = get("MemAvailable");
  const auto free = get("MemFree");
  const auto cached = get("Cached");
  const auto buffers = get("Buffers");
  if (!total || !available || !free || !cached || !buffers || pageSize == 0) return std::nullopt;
  VmPageCounters pages;
  pages.freeCount = *free / pageSize;
  pages.activeCount = (*total > *available ? *total - *available : 0) / pageSize;
  pages.inactiveCount = get("Inactive").value_or(0) / pageSize;
  pages.externalPageCount = (*cached + *buffers) / pageSize;
  pages.internalPageCount = get("AnonPages").value_or(0) / pageSize;
  return pages;
}

std::optional<SwapUsage> swapUsageFromMeminfo(const MeminfoValues& values, uint64_t pageSize) {
  const auto total = values.find("SwapTotal");
  const auto free = values.find("SwapFree");
  if (total == values.end() || free == values.end()) return std::nullopt;
  SwapUsage swap;
  swap.total = total->second;
  swap.used = total->second > free->second ? total->second - free->second : 0;
  swap.pageSize = pageSize;
  return swap;
}

std::optional<uint64_t> physicalMemoryFromMeminfo(const MeminfoValues& values) {
  const auto total = values.find("MemTotal");
  if (total == values.end() || total->second == 0) return std::nullopt;
  return total->second;
}

std::vector<BlockDeviceStatistics> parseDiskstats(std::string_view text) {
  constexpr uint64_t kSectorBytes = 512;
  std::vector<BlockDeviceStatistics> devices;
  while (!text.empty()) {
    auto line = nextLine(text);
    // major minor name reads merged sectors ms writes merged sectors ...
    std::string_view fields[10];
    size_t count = 0;
    for (; count < 10; ++count) {
      fields[count] = nextField(line);
      if (fields[count].empty()) break;
    }
    if (count < 10) continue;
    const auto reads = toNumber(fields[3]);
    const auto sectorsRead = toNumber(fields[5]);
    const auto writes = toNumber(fields[7]);
    const auto sectorsWritten = toNumber(fields[9]);
    if (!reads || !sectorsRead || !writes || !sectorsWritten) continue;
    devices.push_back({std::string(fields[2]), *reads, *writes, *sectorsRead * kSectorBytes,
                       *sectorsWritten * kSectorBytes});
  }
  return devices;
}

std::vector<MountEntry> localVolumesFromMounts(std::string_view text) {
  std::vector<MountEntry> volumes;
  std::set<std::string, std::less<>> seen;
  while (!text.empty()) {
    auto line = nextLine(text);
    const auto device = nextField(line);
    const auto mountPoint = nextField(line);
    const auto type = nextField(line);
    if (!device.starts_with("/dev/") || mountPoint.empty() || type.empty()) continue;
    if (type == "squashfs" || type == "iso9660") continue;
    if (!seen.insert(std::string(device)).second) continue;
    volumes.push_back({std::string(device), unescapeMountField(mountPoint), std::string(type)});
  }
  return volumes;
}

}  // namespace sondrel
