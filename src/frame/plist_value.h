#pragma once
// Property lists as plain values: parsed from binary or XML bytes, encoded as
// binary the way Apple's own encoder writes them.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace sondrel {

struct PlistValue;
using PlistArray = std::vector<PlistValue>;
// Keys in file order.
using PlistDictionary = std::vector<std::pair<std::string, PlistValue>>;
using PlistData = std::vector<uint8_t>;
struct PlistDate {
  double secondsSince1970 = 0;
  bool operator==(const PlistDate&) const = default;
};

struct PlistValue {
  using Variant = std::variant<bool, int64_t, double, std::string, PlistData, PlistDate, PlistArray, PlistDictionary>;
  Variant value;

  // Declared here and defaulted below the class: clang instantiates the
  // variant's special members eagerly and needs PlistValue complete for that.
  PlistValue();
  template <typename T, typename = std::enable_if_t<std::is_constructible_v<Variant, T&&> &&
                                                    !std::is_same_v<std::decay_t<T>, PlistValue>>>
  PlistValue(T&& alternative) : value(std::forward<T>(alternative)) {}  // NOLINT: implicit like the variant
  PlistValue(const PlistValue&);
  PlistValue(PlistValue&&) noexcept;
  PlistValue& operator=(const PlistValue&);
  PlistValue& operator=(PlistValue&&) noexcept;
  ~PlistValue();

  [[nodiscard]] const std::string* asString() const { return std::get_if<std::string>(&value); }
  [[nodiscard]] const PlistArray* asArray() const { return std::get_if<PlistArray>(&value); }
  [[nodiscard]] const PlistDictionary* asDictionary() const { return std::get_if<PlistDictionary>(&value); }
  // The value under key of a dictionary; null for a missing key or a non-dictionary.
  [[nodiscard]] const PlistValue* find(std::string_view key) const;
  bool operator==(const PlistValue& other) const;
};

inline PlistValue::PlistValue() = default;
inline PlistValue::PlistValue(const PlistValue&) = default;
inline PlistValue::PlistValue(PlistValue&&) noexcept = default;
inline PlistValue& PlistValue::operator=(const PlistValue&) = default;
inline PlistValue& PlistValue::operator=(PlistValue&&) noexcept = default;
inline PlistValue::~PlistValue() = default;
inline bool PlistValue::operator==(const PlistValue& other) const { return value == other.value; }

[[nodiscard]] std::optional<PlistValue> parsePlist(std::string_view bytes);
[[nodiscard]] std::optional<std::string> encodeBinaryPlist(const PlistValue& value);

}  // namespace sondrel
