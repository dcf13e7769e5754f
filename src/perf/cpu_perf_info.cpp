#include "perf/cpu_perf_info.h"

#include "perf/checked_math.h"

namespace sondrel {

namespace {

int64_t sumOfFour(int64_t user, int64_t nice, int64_t idle, int64_t system) {
  constexpr std::string_view what = "the processor tick total";
  return checkedAdd(checkedAdd(checkedAdd(user, nice, what), system, what), idle, what);
}

}  // namespace

CPUPerfInfo::CPUPerfInfo(int64_t userTime, int64_t niceTime, int64_t idleTime, int64_t systemTime)
    : userTime_(userTime),
      niceTime_(niceTime),
      idleTime_(idleTime),
      systemTime_(systemTime),
      totalTime_(static_cast<double>(sumOfFour(userTime, niceTime, idleTime, systemTime))) {}

CPUPerfInfo sumProcessorTicks(std::span<const ProcessorTicks> perProcessor) {
  int64_t user = 0;
  int64_t system = 0;
  int64_t idle = 0;
  int64_t nice = 0;
  for (const auto& ticks : perProcessor) {
    user = checkedAdd(user, toInt64Checked(ticks.user, "user ticks"), "the user tick sum");
    system = checkedAdd(system, toInt64Checked(ticks.system, "system ticks"), "the system tick sum");
    idle = checkedAdd(idle, toInt64Checked(ticks.idle, "idle ticks"), "the idle tick sum");
    nice = checkedAdd(nice, toInt64Checked(ticks.nice, "nice ticks"), "the nice tick sum");
  }
  return CPUPerfInfo(user, nice, idle, system);
}

}  // namespace sondrel
