// The device classes of sysfs: /sys/class/<class>/<device>/<attribute>.

#include "perf/io_registry.h"

#include "perf/linux/small_file.h"

namespace sondrel {

namespace {

constexpr size_t kAttributeCap = 4096;

}  // namespace

std::optional<std::vector<RegistryEntry>> IORegistry::entries(std::string_view className,
                                                              std::span<const std::string_view> keys,
                                                              NameFilter wanted) const {
  const std::string classFolder = root_ + "/sys/class/" + std::string(className);
  const auto devices = listFolder(classFolder);
  if (!devices) return std::nullopt;

  std::vector<RegistryEntry> result;
  for (const auto& device : *devices) {
    if (wanted != nullptr && !wanted(device)) continue;
    RegistryEntry entry;
    entry.name = device;
    const std::string deviceFolder = classFolder + "/" + device;
    std::vector<std::string> files;
    bool listed = false;
    for (const auto key : keys) {
      if (key.find('*') == std::string_view::npos) {
        if (auto text = readKernelFile(deviceFolder + "/" + std::string(key), kAttributeCap)) {
          entry.properties.push_back(PlistEntry{std::string(key), PlistValue{trimmedAttribute(std::move(*text))}});
        }
        continue;
      }
      if (!listed) {
        files = listFolder(deviceFolder).value_or(std::vector<std::string>{});
        listed = true;
      }
      for (const auto& file : files) {
        if (!matchesKeyPattern(file, key)) continue;
        if (auto text = readKernelFile(deviceFolder + "/" + file, kAttributeCap)) {
          entry.properties.push_back(PlistEntry{file, PlistValue{trimmedAttribute(std::move(*text))}});
        }
      }
    }
    result.push_back(std::move(entry));
  }
  return result;
}

}  // namespace sondrel
