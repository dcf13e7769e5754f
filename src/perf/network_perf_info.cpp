#include "perf/network_perf_info.h"

#include <ifaddrs.h>
#include <net/if.h>

#include <fmt/format.h>

#include "frame/logger.h"
#include "frame/owned.h"

namespace sondrel {

std::vector<NetworkPerfInfo> activeInterfaces(std::span<const LinkEntry> entries) {
  constexpr unsigned int kMask = IFF_UP | IFF_LOOPBACK | IFF_RUNNING;
  constexpr unsigned int kWanted = IFF_UP | IFF_RUNNING;
  static_assert(kMask == 73 && kWanted == 65, "interface flags differ from the values the kernels use");
  std::vector<NetworkPerfInfo> result;
  for (const auto& entry : entries) {
    if (!entry.hasData || (entry.flags & kMask) != kWanted) continue;
    result.push_back({entry.name, entry.macAddress, entry.inErrors, entry.outErrors});
  }
  return result;
}

std::string formatMacAddress(std::span<const uint8_t> bytes) {
  if (bytes.empty()) return kUnknownMacAddress;
  std::string text;
  text.reserve(bytes.size() * 3);
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i != 0) text.push_back(':');
    text += fmt::format("{:02x}", bytes[i]);
  }
  return text;
}

std::optional<std::vector<NetworkPerfInfo>> NetworkPerfInfoProvider::tryGetNetwork() {
  ifaddrs* list = nullptr;
  if (::getifaddrs(&list) != 0 || list == nullptr) {
    Logger::logError("Error: Could not fetch Network perf info. {}.", "getifaddrs() failed");
    return std::nullopt;
  }
  const Owned<ifaddrs*, nullptr, ::freeifaddrs> owner(list);
  const int family = linkLayerFamily();
  std::vector<LinkEntry> entries;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != family) continue;
    LinkEntry link;
    link.name = entry->ifa_name != nullptr ? entry->ifa_name : "";
    link.flags = entry->ifa_flags;
    link.hasData = entry->ifa_data != nullptr;
    link.macAddress = macAddress(entry->ifa_addr);
    if (link.hasData) {
      const auto counters = linkErrorCounters(entry->ifa_data);
      link.inErrors = counters.inErrors;
      link.outErrors = counters.outErrors;
    }
    entries.push_back(std::move(link));
  }
  return activeInterfaces(entries);
}

}  // namespace sondrel
