// The interface table of the interface management information base, through sysctl.

#include <net/if.h>
#include <net/if_mib.h>
#include <sys/socket.h>
#include <sys/sysctl.h>
#include <sys/types.h>

#include <cstring>
#include <string>

#include "perf/net_stats_utils.h"

namespace sondrel {

namespace {

class SysctlInterfaceMib final : public IInterfaceMib {
 public:
  std::optional<uint32_t> interfaceCount() override {
    int name[] = {CTL_NET, PF_LINK, NETLINK_GENERIC, IFMIB_SYSTEM, IFMIB_IFCOUNT};
    uint32_t count = 0;
    size_t size = sizeof count;
    if (sysctl(name, 5, &count, &size, nullptr, 0) != 0) return std::nullopt;
    return count;
  }

  std::optional<InterfaceMibRow> row(uint32_t row) override {
    int name[] = {CTL_NET, PF_LINK, NETLINK_GENERIC, IFMIB_IFDATA, static_cast<int>(row), IFDATA_GENERAL};
    struct ifmibdata data {};
    size_t size = sizeof data;
    if (sysctl(name, 6, &data, &size, nullptr, 0) != 0) return std::nullopt;
    return InterfaceMibRow{std::string(data.ifmd_name, strnlen(data.ifmd_name, sizeof data.ifmd_name)),
                           data.ifmd_data.ifi_baudrate, data.ifmd_data.ifi_ibytes,
                           data.ifmd_data.ifi_obytes};
  }
};

}  // namespace

std::unique_ptr<IInterfaceMib> makeInterfaceMib() { return std::make_unique<SysctlInterfaceMib>(); }

}  // namespace sondrel
