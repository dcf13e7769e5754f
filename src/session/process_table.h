#pragma once
// The kernel's process table as process inspection reads it: one seam, so that
// the logic above it runs the same on every platform and in tests.
// Thread contract: implementations keep no state; any thread may call.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sondrel {

// Marks an id as not known.
inline constexpr uint32_t kUnsetId = 0xFFFFFFFF;

struct ProcessIds {
  uint32_t ppid = kUnsetId;
  uint32_t uid = kUnsetId;   // effective
  uint32_t ruid = kUnsetId;  // real
  uint32_t sid = kUnsetId;   // session
};

class IProcessTable {
 public:
  virtual ~IProcessTable() = default;
  // The kernel's process record (macOS: kinfo_proc; Linux: stat and status).
  [[nodiscard]] virtual std::optional<ProcessIds> ids(uint32_t pid) const = 0;
  // Just the parent; tables where that is cheaper than all ids say so.
  [[nodiscard]] virtual std::optional<uint32_t> parentOf(uint32_t pid) const {
    const auto found = ids(pid);
    return found ? std::optional<uint32_t>(found->ppid) : std::nullopt;
  }
  // The executable's path; nothing when it can't be read.
  [[nodiscard]] virtual std::optional<std::string> executablePath(uint32_t pid) const = 0;
  // The arguments the process was started with (argv), or nothing.
  [[nodiscard]] virtual std::optional<std::vector<std::string>> arguments(uint32_t pid) const = 0;
  // Every process id, in the kernel's order, or nothing when the list can't be read.
  [[nodiscard]] virtual std::optional<std::vector<uint32_t>> listPids() const = 0;
};

// The table of the machine we run on.
[[nodiscard]] const IProcessTable& systemProcessTable();

}  // namespace sondrel
