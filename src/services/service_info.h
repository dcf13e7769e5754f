#pragma once
// One loaded service as the inventory sees it, and one line of a service list.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "frame/plist_value.h"

namespace sondrel {

// A service is who runs what: identity is label and user only, so a changed
// program path never reads as a change of service.
struct ServiceInfo {
  std::string service;
  std::string program;
  std::string user;

  bool operator==(const ServiceInfo& other) const { return service == other.service && user == other.user; }
};

struct ServiceInfoHash {
  size_t operator()(const ServiceInfo& info) const noexcept { return std::hash<std::string>{}(info.service + info.user); }
};

using ServiceInfoSet = std::unordered_set<ServiceInfo, ServiceInfoHash>;

// One line of a service list: the label, the pid when running, and the user
// whose domain listed it (none for the system domain).
struct ServiceRawData {
  std::string service;
  std::optional<int32_t> pid;
  std::optional<uint32_t> uid;

  bool operator==(const ServiceRawData&) const = default;
};

// The cache file's form: an array of dictionaries keyed "service", "program", "user".
[[nodiscard]] PlistValue encodeServiceInfos(const std::vector<ServiceInfo>& services);
// Nothing when value is not such an array (an entry missing a key spoils the whole file).
[[nodiscard]] std::optional<std::vector<ServiceInfo>> decodeServiceInfos(const PlistValue& value);

}  // namespace sondrel
