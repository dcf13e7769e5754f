#include "perf/network_perf_info.h"

#include <net/if.h>

#include <fmt/format.h>

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

}  // namespace sondrel
