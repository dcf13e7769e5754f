// The link layer of Linux's interface list: AF_PACKET entries, whose data is
// the kernel's struct rtnl_link_stats.

#include <linux/if_link.h>
#include <netpacket/packet.h>
#include <sys/socket.h>

#include <algorithm>

#include "perf/network_perf_info.h"

namespace sondrel {

int linkLayerFamily() { return AF_PACKET; }

LinkErrorCounters linkErrorCounters(const void* data) {
  const auto* stats = static_cast<const rtnl_link_stats*>(data);
  return {stats->rx_errors, stats->tx_errors};
}

std::string NetworkPerfInfoProvider::macAddress(const sockaddr* address) {
  // getnameinfo knows no packet addresses; the link address is in sll_addr.
  if (address == nullptr || address->sa_family != AF_PACKET) return kUnknownMacAddress;
  const auto* link = reinterpret_cast<const sockaddr_ll*>(address);
  const size_t length = std::min<size_t>(link->sll_halen, sizeof link->sll_addr);
  return formatMacAddress(std::span<const uint8_t>(link->sll_addr, length));
}

}  // namespace sondrel
