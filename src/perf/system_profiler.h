#pragma once
// The display adapters as macOS's system_profiler describes them: the names
// and memory sizes that the registry does not always carry. Its output does
// not change while the machine runs, so the one run is kept.
// Thread contract: used from the sampler's queue only.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/command_runner.h"

namespace sondrel {

struct DisplayAdapter {
  std::string model;
  uint32_t deviceId = 0;     // 0 when not stated
  uint64_t memoryBytes = 0;  // 0 when not stated
};

inline constexpr const char* kSystemProfilerPath = "/usr/sbin/system_profiler";

// The adapters listed under "SPDisplaysDataType" of `system_profiler -json`.
[[nodiscard]] std::optional<std::vector<DisplayAdapter>> parseDisplaysJson(std::string_view json);

// "1536 MB", "8 GB" as bytes.
[[nodiscard]] std::optional<uint64_t> parseMemorySize(std::string_view text);

class SystemProfiler {
 public:
  explicit SystemProfiler(std::shared_ptr<ICommandRunner> commandRunner);
  // Runs the tool once; later calls answer from that run.
  std::optional<std::vector<DisplayAdapter>> tryGetDisplays();

 private:
  std::shared_ptr<ICommandRunner> commandRunner_;
  bool ran_ = false;
  std::optional<std::vector<DisplayAdapter>> displays_;
};

}  // namespace sondrel
