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
// Keys in file order. Entries are a struct of their own rather than std::pair,
// whose constraints clang with libstdc++ can't check for a type that holds itself.
using PlistDictionary = std::vector<PlistEntry>;
using PlistData = std::vector<uint8_t>;
struct PlistDate {
  double secondsSince1970 = 0;
  bool operator==(const PlistDate&) const = default;
};

struct PlistValue {
  std::variant<bool, int64_t, double, std::string, PlistData, PlistDate, PlistArray, PlistDictionary> value;

  [[nodiscard]] const std::string* asString() const;
  [[nodiscard]] const PlistArray* asArray() const;
  [[nodiscard]] const PlistDictionary* asDictionary() const;
  // The value under key of a dictionary; null for a missing key or a non-dictionary.
  [[nodiscard]] const PlistValue* find(std::string_view key) const;
  bool operator==(const PlistValue& other) const;
};

inline const std::string* PlistValue::asString() const { return std::get_if<std::string>(&value); }
inline const PlistArray* PlistValue::asArray() const { return std::get_if<PlistArray>(&value); }
inline const PlistDictionary* PlistValue::asDictionary() const { return std::get_if<PlistDictionary>(&value); }

struct PlistEntry {
  PlistEntry(std::string key, PlistValue entryValue) : first(std::move(key)), second(std::move(entryValue)) {}
  std::string first;
  PlistValue second;
  bool operator==(const PlistEntry&) const = default;
};

[[nodiscard]] std::optional<PlistValue> parsePlist(std::string_view bytes);
[[nodiscard]] std::optional<std::string> encodeBinaryPlist(const PlistValue& value);

}  // namespace sondrel
