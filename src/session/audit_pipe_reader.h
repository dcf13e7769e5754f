#pragma once
// Reads process records from an audit pipe: bytes to records (BSM reader),
// records to process changes (AuditProcessTracker), and the kernel's count of
// records it had to drop because we were slow, logged when it grows.
// Thread contract: start/stop from any thread; the sink runs on the reader's thread.

#include <atomic>
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
  // What the reading thread uses. It is shared with that thread, because the
  // reader may be released from inside its own sink (the host unregistering
  // from its callback) while the thread is still on its way out.
  struct Session {
    Session(AuditPipe opened, ProcessChangeSink changes, const IProcessTable& table);
    bool readAvailable();

    AuditPipe pipe;
    ProcessChangeSink sink;
    bsm::RecordReader records{false};
    AuditProcessTracker tracker;
    uint64_t reportedDrops = 0;
    std::vector<uint8_t> chunk;
    // Records already read are not worked through once stop was asked for.
    std::atomic<bool> stopRequested{false};
  };

  std::function<std::optional<AuditPipe>()> openPipe_;
  const IProcessTable& table_;
  std::shared_ptr<Session> session_;
  ReadLoop loop_{"Audit pipe reader"};
};

}  // namespace sondrel
