#include "frame/plist_cache.h"

#include <sys/stat.h>

#include "frame/file_utils.h"
#include "frame/logger.h"

namespace sondrel::CommonUtils {

std::optional<std::vector<std::string>> loadCachedStringArray(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) {
    Logger::logInfo("Cache file does not exist: {}", path);
    return std::nullopt;
  }
  auto bytes = readFileCapped(path);
  if (!bytes) {
    Logger::logError("Failed to read cache file: {}", path);
    return std::nullopt;
  }
  auto root = parsePlist(*bytes);
  const PlistArray* items = root ? root->asArray() : nullptr;
  if (items == nullptr) {
    Logger::logError("Failed to decode cache file: {}", path);
    return std::nullopt;
  }
  std::vector<std::string> strings;
  strings.reserve(items->size());
  for (const auto& item : *items) {
    const std::string* text = item.asString();
    if (text == nullptr) {
      Logger::logError("Failed to decode cache file: {}", path);
      return std::nullopt;
    }
    strings.push_back(*text);
  }
  return strings;
}

void cacheStringArray(const std::vector<std::string>& strings, const std::string& path) {
  const auto slash = path.find_last_of('/');
  if (slash != std::string::npos && slash > 0) {
    std::string reason;
    if (!createFolderIfMissing(path.substr(0, slash), &reason)) {
      Logger::logError("Failed to create directory for cache file.");
      return;
    }
  }
  PlistArray items;
  items.reserve(strings.size());
  for (const auto& text : strings) items.push_back(PlistValue{text});
  auto encoded = encodeBinaryPlist(PlistValue{std::move(items)});
  std::string reason;
  if (!encoded || !writeFileAtomically(path, *encoded, &reason)) {
    Logger::logError("Failed to cache data to file: {}", path);
  }
}

PlistDictionary getPlistAttributes(const std::vector<std::string>& keys, const std::string& path) {
  PlistDictionary found;
  auto bytes = readFileCapped(path);
  if (!bytes) return found;
  auto root = parsePlist(*bytes);
  if (!root || root->asDictionary() == nullptr) {
    Logger::logError("Failed to read property list {}", path);
    return found;
  }
  for (const auto& key : keys) {
    if (const PlistValue* value = root->find(key)) found.push_back(PlistEntry{key, *value});
  }
  return found;
}

}  // namespace sondrel::CommonUtils
