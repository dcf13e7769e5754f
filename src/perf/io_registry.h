#pragma once
// The machine's device tree, asked for a few named properties of every
// device of one class: IOKit's registry on macOS (a property found on the
// service, else on its nearest ancestor, else on its nearest descendant),
// the folders of /sys/class/<class> on Linux (a property is an attribute
// file, named by its path below the device folder; a '*' in a name matches
// any run of characters in the file name, as in "temp*_input").
// Thread contract: stateless after construction; any thread.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frame/plist_value.h"

namespace sondrel {

struct RegistryEntry {
  std::string name;             // registry entry name, or the device folder's name
  PlistDictionary properties;   // the wanted properties that were found (Linux: strings, trimmed)

  [[nodiscard]] const PlistValue* find(std::string_view key) const;
  [[nodiscard]] const std::string* findString(std::string_view key) const;
  // The property read as a number (see integerValue); nothing when it is missing or not one.
  [[nodiscard]] std::optional<int64_t> findInteger(std::string_view key) const;
};

class IORegistry {
 public:
  IORegistry() = default;
  // A copy of the device tree under root instead of the live one (Linux; for tests).
  explicit IORegistry(std::string root) : root_(std::move(root)) {}

  // Tells from a device's name alone whether the caller wants the device at all.
  using NameFilter = bool (*)(std::string_view name);

  // Nothing when the class can't be listed at all; an empty list when it has no devices.
  // Devices that wanted turns down are left out before any of their properties is read.
  [[nodiscard]] std::optional<std::vector<RegistryEntry>> entries(std::string_view className,
                                                                  std::span<const std::string_view> keys,
                                                                  NameFilter wanted = nullptr) const;
  [[nodiscard]] const std::string& root() const { return root_; }

 private:
  std::string root_;
};

// Whether a file name answers a wanted key: a '*' in the key matches any run
// of characters ("temp*_input" against "temp12_input").
[[nodiscard]] bool matchesKeyPattern(std::string_view name, std::string_view pattern);
// An attribute file's text without the newline, spaces or NULs the kernel ends it with.
[[nodiscard]] std::string trimmedAttribute(std::string text);

// Reads through the common shapes IOKit and sysfs give a number in.
[[nodiscard]] std::optional<int64_t> integerValue(const PlistValue& value);
// The number under key of a nested dictionary, such as a driver's "Statistics".
[[nodiscard]] std::optional<int64_t> findInteger(const PlistValue& dictionary, std::string_view key);

}  // namespace sondrel
