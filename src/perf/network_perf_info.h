#pragma once
// Error counters of every active interface, for the device performance sample.

#include <sys/socket.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace sondrel {

struct NetworkPerfInfo {
  std::string interfaceName;
  std::string macAddress;
  uint32_t inErrors = 0;
  uint32_t outErrors = 0;
};

class INetworkPerfInfoProvider {
 public:
  virtual ~INetworkPerfInfoProvider() = default;
  virtual std::optional<std::vector<NetworkPerfInfo>> tryGetNetwork() = 0;
};

inline constexpr const char* kUnknownMacAddress = "00:00:00:00:00:00";

// One link-layer entry of the interface list as the platform reader saw it.
struct LinkEntry {
  std::string name;
  unsigned int flags = 0;
  bool hasData = false;  // the kernel attached its counters to the entry
  std::string macAddress;
  uint32_t inErrors = 0;
  uint32_t outErrors = 0;
};

// Keeps up, running, non-loopback entries that carry counters, in list order.
[[nodiscard]] std::vector<NetworkPerfInfo> activeInterfaces(std::span<const LinkEntry> entries);

// Colon-separated lower-case hex; kUnknownMacAddress when there are no bytes.
[[nodiscard]] std::string formatMacAddress(std::span<const uint8_t> bytes);

// getifaddrs over the link layer. Stateless.
class NetworkPerfInfoProvider final : public INetworkPerfInfoProvider {
 public:
  std::optional<std::vector<NetworkPerfInfo>> tryGetNetwork() override;
  // The link address as text; kUnknownMacAddress when it has none.
  [[nodiscard]] static std::string macAddress(const struct sockaddr* address);
};

// What each platform's interface list differs in: the family of its
// link-layer entries (AF_LINK on macOS, AF_PACKET on Linux) and the layout of
// the counters the kernel hangs on them.
[[nodiscard]] int linkLayerFamily();
struct LinkErrorCounters {
  uint32_t inErrors = 0;
  uint32_t outErrors = 0;
};
[[nodiscard]] LinkErrorCounters linkErrorCounters(const void* data);

}  // namespace sondrel
