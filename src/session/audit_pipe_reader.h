#pragma once
// Reads process records from an audit pipe: bytes to records (BSM reader),
// records to process changes (AuditProcessTracker), and the kernel's count of
// records it had to drop because we were slow, logged when it grows.
// Thread contract: start/stop from any thread; the sink runs on the reader's thread.

#include <cstdint>
#include <functional>
#include <optional>

#include "frame/owned.h"
#include "session/audit_process_tracker.h"
#include "session/bsm_reader.h"
#include "session/process_change.h"
#include "session/read_loop.h"

namespace sondrel {

// An opened pipe and how to ask it for its drop count.
struct AuditPipe {
  UniqueFd fd;
  std::function<std::optional<uint64_t>()> readDrops;
};

class AuditPipeReader final : public IProcessEventReader {
 public:
  AuditPipeReader(std::function<std::optional<AuditPipe>()> openPipe, const IProcessTable& table);
  ~AuditPipeReader() override;

  bool start(ProcessChangeSink sink) override;
  void stop() override;

 private:
  bool readAvailable();

  std::function<std::optional<AuditPipe>()> openPipe_;
  AuditPipe pipe_;
  ProcessChangeSink sink_;
  bsm::RecordReader records_{false};
  AuditProcessTracker tracker_;
  uint64_t reportedDrops_ = 0;
  std::vector<uint8_t> chunk_;
  ReadLoop loop_{"Audit pipe reader"};
};

}  // namespace sondrel
