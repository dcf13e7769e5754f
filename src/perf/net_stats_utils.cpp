#include "perf/net_stats_utils.h"

#include <utility>

#include "frame/logger.h"

namespace sondrel {

NetStatsUtils::NetStatsUtils() : NetStatsUtils(makeInterfaceMib()) {}

NetStatsUtils::NetStatsUtils(std::unique_ptr<IInterfaceMib> mib) : mib_(std::move(mib)) {}

void NetStatsUtils::refreshStatsCache() {
  propCache.clear();
  const auto count = mib_->interfaceCount();
  if (!count) {
    Logger::logError("Error: Failed to get interface count");
    return;
  }
  for (uint32_t row = 1; row <= *count; ++row) {
    auto data = mib_->row(row);
    if (!data) {
      Logger::logError("Error: Failed to get interface data of row {}", row);
      continue;
    }
    propCache[data->name] = StatsProp{data->lineSpeed, data->lineSpeed, data->ibytes, data->obytes};
  }
}

std::optional<StatsProp> NetStatsUtils::getStatsProp(const std::string& interfaceName) {
  auto found = propCache.find(interfaceName);
  if (found == propCache.end()) {
    refreshStatsCache();
    found = propCache.find(interfaceName);
    if (found == propCache.end()) return std::nullopt;
  }
  // Each reading goes out once, so the next request reads the kernel afresh.
  StatsProp prop = found->second;
  propCache.erase(found);
  return prop;
}

}  // namespace sondrel
