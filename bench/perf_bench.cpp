// Cost of one full device performance sample with every provider reading the
// live machine, and whether repeated samples leave allocations behind.

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>

#include "frame/logger.h"
#include "perf/device_perf_events.h"
#include "perf/device_perf_wiring.h"
#include "perf/proc_text.h"

namespace {

// Live heap blocks of the whole program, counted at the global operators.
std::atomic<int64_t> liveAllocations{0};

}  // namespace

void* operator new(std::size_t size) {
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  liveAllocations.fetch_add(1, std::memory_order_relaxed);
  return block;
}
void operator delete(void* block) noexcept {
  if (block == nullptr) return;
  liveAllocations.fetch_sub(1, std::memory_order_relaxed);
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

namespace {

using namespace sondrel;

void dropLogLine(uint32_t, const char*, const char*) {}
void dropEvent(device_perf_event_t* event) { benchmark::DoNotOptimize(event); }

void OneDeviceSample(benchmark::State& state) {
  Logger::shared().registerLogs(&dropLogLine);
  auto sampler = makeDevicePerfEvents(&dropEvent);
  for (auto _ : state) sampler->eventTimerCallback();
  Logger::shared().unregisterLogsCollector();
}
BENCHMARK(OneDeviceSample)->Unit(benchmark::kMicrosecond);

// Live heap blocks left behind by 10 000 samples, after a warm-up sample has
// settled every one-time cache.
void AllocationGrowthOver10000Samples(benchmark::State& state) {
  Logger::shared().registerLogs(&dropLogLine);
  auto sampler = makeDevicePerfEvents(&dropEvent);
  sampler->eventTimerCallback();
  int64_t growth = 0;
  for (auto _ : state) {
    const int64_t before = liveAllocations.load();
    for (int i = 0; i < 10000; ++i) sampler->eventTimerCallback();
    growth = liveAllocations.load() - before;
  }
  state.counters["live_block_growth"] = static_cast<double>(growth);
  Logger::shared().unregisterLogsCollector();
}
BENCHMARK(AllocationGrowthOver10000Samples)->Iterations(1)->Unit(benchmark::kMillisecond);

void ParseProcStat(benchmark::State& state) {
  const std::string text =
      "cpu  7888 0 4794 115481 215 0 104 0 0 0\n"
      "cpu0 3893 0 2389 57879 26 0 56 0 0 0\ncpu1 3995 0 2404 57601 189 0 48 0 0 0\n"
      "intr 1 2 3\nctxt 4\nbtime 5\nprocesses 6\n";
  for (auto _ : state) benchmark::DoNotOptimize(parseProcStat(text));
}
BENCHMARK(ParseProcStat);

}  // namespace
