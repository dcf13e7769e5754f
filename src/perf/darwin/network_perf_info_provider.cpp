// Interface error counters from getifaddrs' AF_LINK entries, whose data is struct if_data.

#include <ifaddrs.h>
#include <net/if.h>
#include <net/if_dl.h>
#include <net/if_var.h>
#include <netdb.h>
#include <sys/socket.h>

#include <memory>

#include "frame/logger.h"
#include "perf/network_perf_info.h"

namespace sondrel {

namespace {

struct ListReleaser {
  void operator()(ifaddrs* entries) const { freeifaddrs(entries); }
};

}  // namespace

std::optional<std::vector<NetworkPerfInfo>> NetworkPerfInfoProvider::tryGetNetwork() {
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0 || list == nullptr) {
    Logger::logError("Error: Could not fetch Network perf info. {}.", "getifaddrs() failed");
    return std::nullopt;
  }
  std::unique_ptr<ifaddrs, ListReleaser> owner(list);
  std::vector<LinkEntry> entries;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_LINK) continue;
    LinkEntry link;
    link.name = entry->ifa_name != nullptr ? entry->ifa_name : "";
    link.flags = entry->ifa_flags;
    link.hasData = entry->ifa_data != nullptr;
    link.macAddress = macAddress(entry->ifa_addr);
    if (link.hasData) {
      const auto* data = static_cast<const struct if_data*>(entry->ifa_data);
      link.inErrors = data->ifi_ierrors;
      link.outErrors = data->ifi_oerrors;
    }
    entries.push_back(std::move(link));
  }
  return activeInterfaces(entries);
}

std::string NetworkPerfInfoProvider::macAddress(const struct sockaddr* address) {
  if (address == nullptr) return kUnknownMacAddress;
  char host[1025] = {};
  if (getnameinfo(address, address->sa_len, host, sizeof host, nullptr, 0, NI_NUMERICHOST) == 0 && host[0] != '\0') {
    return host;
  }
  return kUnknownMacAddress;
}

}  // namespace sondrel
