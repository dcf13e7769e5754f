#pragma once
// The device performance sampler wired to the live machine, built one way for
// the register function, the benchmarks and the live tests.

#include <memory>

#include "perf/device_perf_events.h"
#include "sondrel/sondrel.h"

namespace sondrel {

// Every provider reads this machine; the sampler is not started.
[[nodiscard]] std::shared_ptr<DevicePerfEvents> makeDevicePerfEvents(DevicePerfEventCallback callback);

}  // namespace sondrel
