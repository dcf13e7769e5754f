// Throughput of the frame's hot paths: queue hand-offs, JSON splitting of
// report text, the string-array cache round trip.

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "frame/dispatch.h"
#include "frame/json_blocks.h"
#include "frame/plist_value.h"

namespace {

void SerialQueueAsyncThroughput(benchmark::State& state) {
  sondrel::SerialQueue queue("bench");
  const auto batch = static_cast<int>(state.range(0));
  for (auto _ : state) {
    std::mutex mutex;
    std::condition_variable done;
    int remaining = batch;
    for (int i = 0; i < batch; ++i) {
      queue.async([&] {
        std::lock_guard lock(mutex);
        if (--remaining == 0) done.notify_one();
      });
    }
    std::unique_lock lock(mutex);
    done.wait(lock, [&] { return remaining == 0; });
  }
  state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(SerialQueueAsyncThroughput)->Arg(1000);

std::string reportLikeText(size_t frames) {
  std::string text = R"x({"app_name":"Demo","bug_type":"309","os_version":"macOS 13.4 (22F66)"})x";
  text += "\n{\"threads\":[{\"frames\":[";
  for (size_t i = 0; i < frames; ++i) {
    if (i > 0) text += ',';
    text += R"x({"imageIndex":)x" + std::to_string(i % 7) + R"x(,"symbol":"f\"{}\"","imageOffset":12345})x";
  }
  text += "]}]}";
  return text;
}

void GetJsonBlockSplit(benchmark::State& state) {
  const std::string text = reportLikeText(static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    auto blocks = sondrel::CommonUtils::getJsonBlock(text);
    benchmark::DoNotOptimize(blocks);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(GetJsonBlockSplit)->Arg(100)->Arg(10000);

void StringArrayPlistRoundTrip(benchmark::State& state) {
  sondrel::PlistArray paths;
  for (int i = 0; i < state.range(0); ++i) {
    paths.push_back(sondrel::PlistValue{"/Library/Logs/DiagnosticReports/App-2024-01-01-" + std::to_string(i) + ".ips"});
  }
  const sondrel::PlistValue value{paths};
  for (auto _ : state) {
    auto encoded = sondrel::encodeBinaryPlist(value);
    auto decoded = sondrel::parsePlist(*encoded);
    benchmark::DoNotOptimize(decoded);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(StringArrayPlistRoundTrip)->Arg(1000);

}  // namespace
