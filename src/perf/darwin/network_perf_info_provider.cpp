// The link layer of macOS's interface list: AF_LINK entries, whose data is
// struct if_data.

#include <net/if.h>
#include <net/if_dl.h>
#include <net/if_var.h>
#include <netdb.h>
#include <sys/socket.h>

#include "perf/network_perf_info.h"

namespace sondrel {

int linkLayerFamily() { return AF_LINK; }

LinkErrorCounters linkErrorCounters(const void* data) {
  const auto* counters = static_cast<const struct if_data*>(data);
  return {counters->ifi_ierrors, counters->ifi_oerrors};
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
