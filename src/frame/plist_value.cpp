#include "frame/plist_value.h"

#include <plist/plist.h>

#include "frame/owned.h"
#include "frame/utf8.h"

#include <cmath>
#include <cstdlib>

namespace sondrel {

namespace {

// Seconds between 1970-01-01 and Apple's reference date 2001-01-01.
constexpr double kAppleEpochOffset = 978307200.0;
// Nesting deeper than this is not a property list we read.
constexpr int kMaxDepth = 64;

using OwnedPlist = Owned<plist_t, nullptr, plist_free>;

std::optional<PlistValue> fromNode(plist_t node, int depth) {
  if (node == nullptr || depth > kMaxDepth) return std::nullopt;
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
      uint8_t flag = 0;
      plist_get_bool_val(node, &flag);
      return PlistValue{flag != 0};
    }
    case PLIST_UINT: {
      uint64_t number = 0;
      plist_get_uint_val(node, &number);
      return PlistValue{static_cast<int64_t>(number)};
    }
    case PLIST_REAL: {
      double number = 0;
      plist_get_real_val(node, &number);
      return PlistValue{number};
    }
    case PLIST_STRING: {
      // By pointer and length: the copying getter asserts (and aborts the
      // process) on a string holding a NUL byte, which any file may contain.
      uint64_t length = 0;
      const char* text = plist_get_string_ptr(node, &length);
      return PlistValue{text ? std::string(text, length) : std::string()};
    }
    case PLIST_DATA: {
      uint64_t length = 0;
      const char* bytes = plist_get_data_ptr(node, &length);
      PlistData data(reinterpret_cast<const uint8_t*>(bytes), reinterpret_cast<const uint8_t*>(bytes) + length);
      return PlistValue{std::move(data)};
    }
    case PLIST_DATE: {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
      int32_t seconds = 0;
      int32_t microseconds = 0;
      plist_get_date_val(node, &seconds, &microseconds);
#pragma GCC diagnostic pop
      return PlistValue{PlistDate{kAppleEpochOffset + seconds + microseconds / 1e6}};
    }
    case PLIST_ARRAY: {
      PlistArray items;
      const uint32_t count = plist_array_get_size(node);
      items.reserve(count);
      for (uint32_t i = 0; i < count; ++i) {
        auto item = fromNode(plist_array_get_item(node, i), depth + 1);
        if (!item) return std::nullopt;
        items.push_back(std::move(*item));
      }
      return PlistValue{std::move(items)};
    }
    case PLIST_DICT: {
      PlistDictionary entries;
      plist_dict_iter iterator = nullptr;
      plist_dict_new_iter(node, &iterator);
      for (;;) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator, &key, &item);
        if (item == nullptr) {
          std::free(key);
          break;
        }
        auto value = fromNode(item, depth + 1);
        std::string name = key ? key : "";
        std::free(key);
        if (!value) {
          std::free(iterator);
          return std::nullopt;
        }
        entries.push_back(PlistEntry{std::move(name), std::move(*value)});
      }
      std::free(iterator);
      return PlistValue{std::move(entries)};
    }
    default:
      return std::nullopt;
  }
}

// Text the binary writer can encode: valid UTF-8 without NUL bytes (a NUL
// would silently cut the text; invalid UTF-8 yields a file no one can read).
bool isEncodableText(std::string_view text) {
  return text.find('\0') == std::string_view::npos && isValidUtf8(text);
}

bool isEncodable(const PlistValue& value, int depth) {
  if (depth > kMaxDepth) return false;
  if (const auto* text = value.asString()) return isEncodableText(*text);
  if (const auto* items = value.asArray()) {
    for (const auto& item : *items) {
      if (!isEncodable(item, depth + 1)) return false;
    }
  }
  if (const auto* entries = value.asDictionary()) {
    for (const auto& [key, item] : *entries) {
      if (!isEncodableText(key) || !isEncodable(item, depth + 1)) return false;
    }
  }
  return true;
}

plist_t toNode(const PlistValue& value) {
  struct Builder {
    plist_t operator()(bool flag) const { return plist_new_bool(flag ? 1 : 0); }
    plist_t operator()(int64_t number) const { return plist_new_uint(static_cast<uint64_t>(number)); }
    plist_t operator()(double number) const { return plist_new_real(number); }
    plist_t operator()(const std::string& text) const { return plist_new_string(text.c_str()); }
    plist_t operator()(const PlistData& data) const {
      return plist_new_data(reinterpret_cast<const char*>(data.data()), data.size());
    }
    plist_t operator()(const PlistDate& date) const {
      const double since2001 = date.secondsSince1970 - kAppleEpochOffset;
      const double whole = std::floor(since2001);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
      return plist_new_date(static_cast<int32_t>(whole), static_cast<int32_t>((since2001 - whole) * 1e6));
#pragma GCC diagnostic pop
    }
    plist_t operator()(const PlistArray& items) const {
      plist_t array = plist_new_array();
      for (const auto& item : items) plist_array_append_item(array, toNode(item));
      return array;
    }
    plist_t operator()(const PlistDictionary& entries) const {
      plist_t dictionary = plist_new_dict();
      for (const auto& [key, item] : entries) plist_dict_set_item(dictionary, key.c_str(), toNode(item));
      return dictionary;
    }
  };
  return std::visit(Builder{}, value.value);
}

}  // namespace

bool PlistValue::operator==(const PlistValue& other) const { return value == other.value; }

const PlistValue* PlistValue::find(std::string_view key) const {
  const auto* entries = asDictionary();
  if (entries == nullptr) return nullptr;
  for (const auto& [name, item] : *entries) {
    if (name == key) return &item;
  }
  return nullptr;
}

std::optional<PlistValue> parsePlist(std::string_view bytes) {
  if (bytes.empty() || bytes.size() > UINT32_MAX) return std::nullopt;
  plist_t root = nullptr;
  const auto length = static_cast<uint32_t>(bytes.size());
  if (bytes.starts_with("bplist00")) {
    plist_from_bin(bytes.data(), length, &root);
  } else {
    plist_from_xml(bytes.data(), length, &root);
  }
  OwnedPlist owned(root);
  return fromNode(root, 0);
}

std::optional<std::string> encodeBinaryPlist(const PlistValue& value) {
  if (!isEncodable(value, 0)) return std::nullopt;
  OwnedPlist root(toNode(value));
  char* bytes = nullptr;
  uint32_t length = 0;
  plist_to_bin(root.get(), &bytes, &length);
  if (bytes == nullptr) return std::nullopt;
  std::string encoded(bytes, length);
  plist_to_bin_free(bytes);
  return encoded;
}

}  // namespace sondrel
