#pragma once
// Property-list files the sources read and keep: string-array caches, and the
// top-level values of a property list such as a launchd job or an Info.plist.

#include <optional>
#include <string>
#include <vector>

#include "frame/plist_value.h"

namespace sondrel::CommonUtils {

// The array of strings stored at path, or nothing (logged) when the file is
// missing, unreadable, or not a property list holding an array of strings.
[[nodiscard]] std::optional<std::vector<std::string>> loadCachedStringArray(const std::string& path);

// Writes strings as a binary property list over path, atomically; failures are logged.
void cacheStringArray(const std::vector<std::string>& strings, const std::string& path);

// The values of the named top-level keys of the property list at path; keys
// that are missing, or a file that can't be read, give no entry.
[[nodiscard]] PlistDictionary getPlistAttributes(const std::vector<std::string>& keys, const std::string& path);

}  // namespace sondrel::CommonUtils
