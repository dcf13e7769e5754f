#pragma once
// Per-interface link rates and byte counters, read in one sweep over the
// interface table and handed out once each. Used from one queue at a time.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace sondrel {

struct StatsProp {
  uint64_t rxLinkRate = 0;  // bits per second; 0 when the driver does not say
  uint64_t txLinkRate = 0;
  uint64_t ibytes = 0;  // bytes received
  uint64_t obytes = 0;  // bytes sent
};

// One row of the interface table: the interface-MIB rows of sysctl on macOS,
// the folders of /sys/class/net on Linux. Reads log their own failures.
struct InterfaceMibRow {
  std::string name;
  uint64_t lineSpeed = 0;  // bits per second
  uint64_t ibytes = 0;
  uint64_t obytes = 0;
};

class IInterfaceMib {
 public:
  virtual ~IInterfaceMib() = default;
  virtual std::optional<uint32_t> interfaceCount() = 0;
  // Rows are numbered from 1.
  virtual std::optional<InterfaceMibRow> row(uint32_t row) = 0;
};

[[nodiscard]] std::unique_ptr<IInterfaceMib> makeInterfaceMib();

class INetStatsUtils {
 public:
  virtual ~INetStatsUtils() = default;
  virtual std::optional<StatsProp> getStatsProp(const std::string& interfaceName) = 0;
};

class NetStatsUtils final : public INetStatsUtils {
 public:
  NetStatsUtils();
  explicit NetStatsUtils(std::unique_ptr<IInterfaceMib> mib);

  std::optional<StatsProp> getStatsProp(const std::string& interfaceName) override;
  void refreshStatsCache();

  std::map<std::string, StatsProp> propCache;

 private:
  std::unique_ptr<IInterfaceMib> mib_;
};

}  // namespace sondrel
