// IOKit's registry: the services matching a class, and wanted properties
// found on each service, its ancestors, or its descendants.

#include "perf/io_registry.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

#include "frame/darwin/cf_utils.h"
#include "frame/logger.h"
#include "perf/darwin/io_object.h"

namespace sondrel {

namespace {

// Registry properties nest shallowly; the bound keeps a cyclic or hostile value finite.
constexpr int kMaxDepth = 8;

PlistValue toPlistValue(CFTypeRef value, int depth);

PlistValue dictionaryValue(CFDictionaryRef dictionary, int depth) {
  PlistDictionary result;
  const CFIndex count = CFDictionaryGetCount(dictionary);
  std::vector<const void*> keys(static_cast<size_t>(count));
  std::vector<const void*> values(static_cast<size_t>(count));
  CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
  for (CFIndex i = 0; i < count; ++i) {
    const auto key = static_cast<CFTypeRef>(keys[static_cast<size_t>(i)]);
    if (CFGetTypeID(key) != CFStringGetTypeID()) continue;
    auto name = toUtf8(static_cast<CFStringRef>(key));
    if (!name) continue;
    result.push_back(PlistEntry{std::move(*name), toPlistValue(static_cast<CFTypeRef>(values[static_cast<size_t>(i)]), depth + 1)});
  }
  return PlistValue{std::move(result)};
}

PlistValue toPlistValue(CFTypeRef value, int depth) {
  if (value == nullptr || depth > kMaxDepth) return PlistValue{PlistDictionary{}};
  const CFTypeID type = CFGetTypeID(value);
  if (type == CFStringGetTypeID()) return PlistValue{toUtf8(static_cast<CFStringRef>(value)).value_or("")};
  if (type == CFBooleanGetTypeID()) return PlistValue{CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0};
  if (type == CFNumberGetTypeID()) {
    const auto number = static_cast<CFNumberRef>(value);
    if (CFNumberIsFloatType(number)) {
      double real = 0;
      CFNumberGetValue(number, kCFNumberDoubleType, &real);
      return PlistValue{real};
    }
    int64_t integer = 0;
    CFNumberGetValue(number, kCFNumberSInt64Type, &integer);
    return PlistValue{integer};
  }
  if (type == CFDataGetTypeID()) {
    const auto data = static_cast<CFDataRef>(value);
    const UInt8* bytes = CFDataGetBytePtr(data);
    return PlistValue{PlistData(bytes, bytes + CFDataGetLength(data))};
  }
  if (type == CFDictionaryGetTypeID()) return dictionaryValue(static_cast<CFDictionaryRef>(value), depth);
  if (type == CFArrayGetTypeID()) {
    const auto array = static_cast<CFArrayRef>(value);
    PlistArray result;
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
      result.push_back(toPlistValue(CFArrayGetValueAtIndex(array, i), depth + 1));
    }
    return PlistValue{std::move(result)};
  }
  return PlistValue{PlistDictionary{}};
}

// The service's own value, else its nearest ancestor's, else its nearest descendant's.
CFOwned<CFTypeRef> searchProperty(io_registry_entry_t service, CFStringRef key) {
  CFOwned<CFTypeRef> value(IORegistryEntrySearchCFProperty(service, kIOServicePlane, key, kCFAllocatorDefault,
                                                           kIORegistryIterateRecursively | kIORegistryIterateParents));
  if (value) return value;
  return CFOwned<CFTypeRef>(
      IORegistryEntrySearchCFProperty(service, kIOServicePlane, key, kCFAllocatorDefault, kIORegistryIterateRecursively));
}

}  // namespace

std::optional<std::vector<RegistryEntry>> IORegistry::entries(std::string_view className,
                                                              std::span<const std::string_view> keys,
                                                              NameFilter wanted) const {
  const std::string name(className);
  // IOServiceGetMatchingServices consumes the matching dictionary.
  CFMutableDictionaryRef matching = IOServiceMatching(name.c_str());
  if (matching == nullptr) return std::nullopt;
  io_iterator_t rawIterator = IO_OBJECT_NULL;
  if (IOServiceGetMatchingServices(MACH_PORT_NULL, matching, &rawIterator) != KERN_SUCCESS) {
    Logger::logError("Error: Could not list the {} services of the I/O registry.", name);
    return std::nullopt;
  }
  UniqueIOObject iterator(rawIterator);

  std::vector<CFOwned<CFStringRef>> cfKeys;
  for (const auto key : keys) {
    cfKeys.emplace_back(CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(key.data()),
                                                static_cast<CFIndex>(key.size()), kCFStringEncodingUTF8, false));
  }

  std::vector<RegistryEntry> result;
  while (io_object_t rawService = IOIteratorNext(iterator.get())) {
    UniqueIOObject service(rawService);
    RegistryEntry entry;
    io_name_t entryName = {};
    if (IORegistryEntryGetName(service.get(), entryName) == KERN_SUCCESS) entry.name = entryName;
    if (wanted != nullptr && !wanted(entry.name)) continue;
    for (size_t i = 0; i < cfKeys.size(); ++i) {
      if (!cfKeys[i]) continue;
      auto value = searchProperty(service.get(), cfKeys[i].get());
      if (value) entry.properties.push_back(PlistEntry{std::string(keys[i]), toPlistValue(value.get(), 0)});
    }
    result.push_back(std::move(entry));
  }
  return result;
}

}  // namespace sondrel
