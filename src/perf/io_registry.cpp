#include "perf/io_registry.h"

#include <charconv>

namespace sondrel {

const PlistValue* RegistryEntry::find(std::string_view key) const {
  for (const auto& [name, value] : properties) {
    if (name == key) return &value;
  }
  return nullptr;
}

const std::string* RegistryEntry::findString(std::string_view key) const {
  const auto* value = find(key);
  return value != nullptr ? value->asString() : nullptr;
}

std::optional<int64_t> RegistryEntry::findInteger(std::string_view key) const {
  const auto* value = find(key);
  return value != nullptr ? integerValue(*value) : std::nullopt;
}

std::optional<int64_t> findInteger(const PlistValue& dictionary, std::string_view key) {
  const auto* value = dictionary.find(key);
  return value != nullptr ? integerValue(*value) : std::nullopt;
}

bool matchesKeyPattern(std::string_view name, std::string_view pattern) {
  const auto star = pattern.find('*');
  if (star == std::string_view::npos) return name == pattern;
  const auto prefix = pattern.substr(0, star);
  const auto suffix = pattern.substr(star + 1);
  return name.size() >= prefix.size() + suffix.size() && name.starts_with(prefix) && name.ends_with(suffix);
}

std::string trimmedAttribute(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == ' ' || text.back() == '\0')) text.pop_back();
  return text;
}

std::optional<int64_t> integerValue(const PlistValue& value) {
  if (const auto* number = std::get_if<int64_t>(&value.value)) return *number;
  if (const auto* text = value.asString()) {
    std::string_view digits = *text;
    int base = 10;
    if (digits.starts_with("0x") || digits.starts_with("0X")) {
      digits.remove_prefix(2);
      base = 16;
    }
    int64_t parsed = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), parsed, base);
    if (error != std::errc() || end != digits.data() + digits.size() || digits.empty()) return std::nullopt;
    return parsed;
  }
  // IOKit gives PCI ids as little-endian data of up to eight bytes.
  if (const auto* data = std::get_if<PlistData>(&value.value)) {
    if (data->empty() || data->size() > 8) return std::nullopt;
    uint64_t number = 0;
    for (size_t i = data->size(); i-- > 0;) number = (number << 8) | (*data)[i];
    return static_cast<int64_t>(number);
  }
  return std::nullopt;
}

}  // namespace sondrel
