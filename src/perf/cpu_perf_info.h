#pragma once
// Processor tick counters, summed over every processor since boot, and the
// provider that reads them.

#include <cstdint>
#include <optional>
#include <span>

namespace sondrel {

// One processor's cumulative ticks, in the order the Mach kernel lists its
// states (user, system, idle, nice).
struct ProcessorTicks {
  uint64_t user = 0;
  uint64_t system = 0;
  uint64_t idle = 0;
  uint64_t nice = 0;
};

// Immutable; totalTime is fixed at construction.
class CPUPerfInfo {
 public:
  // Aborts when the four do not sum within a signed 64-bit value.
  CPUPerfInfo(int64_t userTime, int64_t niceTime, int64_t idleTime, int64_t systemTime);

  [[nodiscard]] int64_t userTime() const { return userTime_; }
  [[nodiscard]] int64_t niceTime() const { return niceTime_; }
  [[nodiscard]] int64_t idleTime() const { return idleTime_; }
  [[nodiscard]] int64_t systemTime() const { return systemTime_; }
  [[nodiscard]] double totalTime() const { return totalTime_; }

 private:
  int64_t userTime_;
  int64_t niceTime_;
  int64_t idleTime_;
  int64_t systemTime_;
  double totalTime_;
};

// Every addition is checked; overflow aborts.
[[nodiscard]] CPUPerfInfo sumProcessorTicks(std::span<const ProcessorTicks> perProcessor);

class ICPUPerfInfoProvider {
 public:
  virtual ~ICPUPerfInfoProvider() = default;
  virtual std::optional<CPUPerfInfo> tryGetCPU() = 0;
};

// Reads the kernel's tick table: host_processor_info on macOS, /proc/stat on Linux.
class CPUPerfInfoProvider final : public ICPUPerfInfoProvider {
 public:
  std::optional<CPUPerfInfo> tryGetCPU() override;
};

}  // namespace sondrel
