#pragma once
// Cumulative counters of one disk since it appeared.

#include <cstdint>
#include <string>

namespace sondrel {

struct BlockDeviceStatistics {
  std::string name;  // BSD name ("disk0") or kernel name ("nvme0n1")
  uint64_t reads = 0;
  uint64_t writes = 0;
  uint64_t bytesRead = 0;
  uint64_t bytesWritten = 0;
};

}  // namespace sondrel
