// The BSM reader on arbitrary bytes: framing in any chunking, every token of
// every record, and the process-event rules on top. Nothing may read outside
// the input, and a decoded record's tokens must cover exactly its bytes.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <variant>

#include "session/audit_process_tracker.h"
#include "session/bsm_reader.h"
#include "session/bsm_token.h"

namespace {

class NoProcesses final : public sondrel::IProcessTable {
 public:
  std::optional<sondrel::ProcessIds> ids(uint32_t) const override { return std::nullopt; }
  std::optional<std::string> executablePath(uint32_t) const override { return std::nullopt; }
  std::optional<std::vector<std::string>> arguments(uint32_t) const override { return std::nullopt; }
  std::optional<std::vector<uint32_t>> listPids() const override { return std::nullopt; }
};

void walk(std::span<const uint8_t> record, sondrel::AuditProcessTracker& tracker) {
  sondrel::bsm::WalkResult walked;
  size_t covered = 0;
  for (const auto& token : sondrel::bsm::collectTokens(record, &walked)) {
    covered += token.length;
    if (const auto* strings = std::get_if<sondrel::bsm::ExecStringsToken>(&token.value)) {
      uint32_t seen = 0;
      strings->forEach([&](std::string_view) { ++seen; });
      if (seen > strings->count) std::abort();
    }
  }
  if (walked.status == sondrel::bsm::WalkStatus::complete && covered != record.size()) std::abort();
  (void)tracker.handleRecord(record);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  NoProcesses table;
  sondrel::AuditProcessTracker tracker(table);
  const std::span<const uint8_t> input(data + 1, size - 1);

  sondrel::bsm::forEachRecord(input, [&](size_t, std::span<const uint8_t> record) { walk(record, tracker); });

  // The same bytes as a pipe would hand them out, in chunks set by the first byte.
  const size_t chunk = 1 + data[0];
  sondrel::bsm::RecordReader reader(false);
  for (size_t at = 0; at < input.size(); at += chunk) {
    reader.feed(input.subspan(at, std::min(chunk, input.size() - at)));
    while (const auto record = reader.nextRecord()) walk(*record, tracker);
  }
  return 0;
}
