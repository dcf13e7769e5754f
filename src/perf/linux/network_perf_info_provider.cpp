// Interface error counters from getifaddrs' AF_PACKET entries, whose data is
// the kernel's struct rtnl_link_stats.

#include <ifaddrs.h>
#include <linux/if_link.h>
#include <netpacket/packet.h>
#include <sys/socket.h>

#include <memory>

#include "frame/logger.h"
#include "perf/network_perf_info.h"

namespace sondrel {

std::optional<std::vector<NetworkPerfInfo>> NetworkPerfInfoProvider::tryGetNetwork() {
  ifaddrs* list = nullptr;
  if (::getifaddrs(&list) != 0 || list == nullptr) {
    Logger::logError("Error: Could not fetch Network perf info. {}.", "getifaddrs() failed");
    return std::nullopt;
  }
  struct ListReleaser {
    void operator()(ifaddrs* entries) const { ::freeifaddrs(entries); }
  };
  std::unique_ptr<ifaddrs, ListReleaser> owner(list);
  std::vector<LinkEntry> entries;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_PACKET) continue;
    LinkEntry link;
    link.name = entry->ifa_name != nullptr ? entry->ifa_name : "";
    link.flags = entry->ifa_flags;
    link.hasData = entry->ifa_data != nullptr;
    link.macAddress = macAddress(entry->ifa_addr);
    if (link.hasData) {
      const auto* stats = static_cast<const rtnl_link_stats*>(entry->ifa_data);
      link.inErrors = stats->rx_errors;
      link.outErrors = stats->tx_errors;
    }
    entries.push_back(std::move(link));
  }
  return activeInterfaces(entries);
}

std::string NetworkPerfInfoProvider::macAddress(const sockaddr* address) {
  // getnameinfo knows no packet addresses; the link address is in sll_addr.
  if (address == nullptr || address->sa_family != AF_PACKET) return kUnknownMacAddress;
  const auto* link = reinterpret_cast<const sockaddr_ll*>(address);
  const size_t length = std::min<size_t>(link->sll_halen, sizeof link->sll_addr);
  return formatMacAddress(std::span<const uint8_t>(link->sll_addr, length));
}

}  // namespace sondrel
