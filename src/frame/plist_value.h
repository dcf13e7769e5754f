#pragma once
// Property lists as plain values: parsed from binary or XML bytes, encoded as
// binary the way Apple's own encoder writes them.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace sondrel {

struct PlistValue;
struct PlistEntry;
using PlistArray = std::vector<PlistValue>;
// Keys in file order. Entries are a named type, not std::pair: a pair of an
// incomplete type may not be instantiated inside PlistValue's own definition.
using PlistDictionary = std::vector<PlistEntry>;
using PlistData = std::vector<uint8_t>;
struct PlistDate {
  double secondsSince1970 = 0;
  bool operator==(const PlistDate&) const = default;
};

struct PlistValue {
  std::variant<bool, int64_t, double, std::string, PlistData, PlistDate, PlistArray, PlistDictionary> value;

  [[nodiscard]] const std::string* asString() const { return std::get_if<std::string>(&value); }
  [[nodiscard]] const PlistArray* asArray() const { return std::get_if<PlistArray>(&value); }
  [[nodiscard]] const PlistDictionary* asDictionary() const { return std::get_if<PlistDictionary>(&value); }
  // The value under key of a dictionary; null for a missing key or a non-dictionary.
  [[nodiscard]] const PlistValue* find(std::string_view key) const;
  // Out of line: the type is incomplete inside its own definition.
  bool operator==(const PlistValue& other) const;
};

struct PlistEntry {
  std::string first;
  PlistValue second;
  bool operator==(const PlistEntry&) const = default;
};

[[nodiscard]] std::optional<PlistValue> parsePlist(std::string_view bytes);
// Nothing when a string or key is not UTF-8 or holds a NUL byte.
[[nodiscard]] std::optional<std::string> encodeBinaryPlist(const PlistValue& value);

}  // namespace sondrel
