// Decoding speed of the BSM reader on a large macOS-shaped trail: the corpus
// trail's records repeated to about a million, walked in memory, read as a
// stream in pipe-sized chunks, and turned into process changes.

#include <benchmark/benchmark.h>

#include <fstream>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "session/audit_process_tracker.h"
#include "session/bsm_reader.h"
#include "session/bsm_token.h"

namespace {

using namespace sondrel;

constexpr size_t kTargetRecords = 1'000'000;

struct Trail {
  std::vector<uint8_t> bytes;
  size_t records = 0;
};

Trail buildTrail(size_t targetRecords) {
  Trail built;
  std::ifstream in(std::string(SONDREL_CORPUS_DIR) + "/bsm/trail-small.bsm", std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  const std::string sample = text.str();
  if (sample.empty()) return built;
  size_t perCopy = 0;
  bsm::forEachRecord(std::span(reinterpret_cast<const uint8_t*>(sample.data()), sample.size()),
                     [&](size_t, std::span<const uint8_t>) { ++perCopy; });
  const size_t copies = (targetRecords + perCopy - 1) / perCopy;
  built.bytes.reserve(copies * sample.size());
  for (size_t i = 0; i < copies; ++i) built.bytes.insert(built.bytes.end(), sample.begin(), sample.end());
  built.records = copies * perCopy;
  return built;
}

const Trail& largeTrail() {
  static const Trail trail = buildTrail(kTargetRecords);
  return trail;
}

// A trail that stays in the processor's cache: the decoder's own cost, without
// the memory bandwidth a million records need.
const Trail& cachedTrail() {
  static const Trail trail = buildTrail(4096);
  return trail;
}

// The fields the session and process sources read, pulled out of every token.
struct Extracted {
  uint64_t sum = 0;

  bool operator()(const bsm::TokenInfo& info, const auto& value) {
    using Value = std::decay_t<decltype(value)>;
    if constexpr (std::is_same_v<Value, bsm::HeaderToken>) {
      sum += value.event;
    } else if constexpr (std::is_same_v<Value, bsm::SubjectToken>) {
      sum += value.pid + value.euid + value.ruid + value.sid;
    } else if constexpr (std::is_same_v<Value, bsm::ArgToken>) {
      sum += value.value;
    } else if constexpr (std::is_same_v<Value, bsm::StringToken>) {
      sum += value.text.size();
    } else if constexpr (std::is_same_v<Value, bsm::ExecStringsToken>) {
      if (info.id == bsm::kExecArgs) value.forEach([&](std::string_view s) { sum += s.size(); });
    } else if constexpr (std::is_same_v<Value, bsm::ExitToken>) {
      sum += value.status;
    } else if constexpr (std::is_same_v<Value, bsm::ReturnToken>) {
      sum += value.value;
    }
    return true;
  }
};

void decodeRecord(std::span<const uint8_t> record, Extracted& extracted) { bsm::walkTokens(record, extracted); }

void BsmWalkInMemory(benchmark::State& state) {
  const Trail& trail = state.range(0) == 0 ? largeTrail() : cachedTrail();
  if (trail.records == 0) return state.SkipWithError("no corpus trail");
  for (auto _ : state) {
    Extracted extracted;
    bsm::forEachRecord(trail.bytes, [&](size_t, std::span<const uint8_t> record) { decodeRecord(record, extracted); });
    benchmark::DoNotOptimize(extracted.sum);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * trail.records));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * trail.bytes.size()));
}
BENCHMARK(BsmWalkInMemory)->ArgName("cached")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BsmStreamReader(benchmark::State& state) {
  const Trail& trail = largeTrail();
  if (trail.records == 0) return state.SkipWithError("no corpus trail");
  const auto chunk = static_cast<size_t>(state.range(0));
  for (auto _ : state) {
    bsm::RecordReader reader(false);
    Extracted extracted;
    for (size_t at = 0; at < trail.bytes.size(); at += chunk) {
      reader.feed(std::span(trail.bytes).subspan(at, std::min(chunk, trail.bytes.size() - at)));
      while (const auto record = reader.nextRecord()) decodeRecord(*record, extracted);
    }
    benchmark::DoNotOptimize(extracted.sum);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * trail.records));
}
BENCHMARK(BsmStreamReader)->Arg(64 * 1024)->Arg(256 * 1024)->Unit(benchmark::kMillisecond);

class EmptyTable final : public IProcessTable {
 public:
  std::optional<ProcessIds> ids(uint32_t) const override { return std::nullopt; }
  std::optional<std::string> executablePath(uint32_t) const override { return std::nullopt; }
  std::optional<std::vector<std::string>> arguments(uint32_t) const override { return std::nullopt; }
  std::optional<std::vector<uint32_t>> listPids() const override { return std::nullopt; }
};

// Records to process starts and exits, table lookups answered at once.
void BsmProcessTracker(benchmark::State& state) {
  const Trail& trail = largeTrail();
  if (trail.records == 0) return state.SkipWithError("no corpus trail");
  EmptyTable table;
  for (auto _ : state) {
    AuditProcessTracker tracker(table);
    size_t changes = 0;
    bsm::forEachRecord(trail.bytes, [&](size_t, std::span<const uint8_t> record) {
      if (tracker.handleRecord(record)) ++changes;
    });
    benchmark::DoNotOptimize(changes);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * trail.records));
}
BENCHMARK(BsmProcessTracker)->Unit(benchmark::kMillisecond);

}  // namespace
