#pragma once
// Turns BSM audit records into process starts and exits, with the rules each
// event type needs: posix_spawn names the child in its argument and the
// parent in its subject, in either order; fork names the parent in its
// subject; an exec right after a fork of the same pid takes the fork's parent;
// a path under /dev/ gives way to the first argument.
// Thread contract: one tracker per reader thread.

#include <cstdint>
#include <optional>
#include <span>

#include "session/process_change.h"

namespace sondrel {

namespace bsm {
struct SubjectToken;
}

class AuditProcessTracker {
 public:
  static constexpr uint16_t kExit = 1;
  static constexpr uint16_t kFork = 2;
  static constexpr uint16_t kExec = 7;
  static constexpr uint16_t kExecve = 23;
  static constexpr uint16_t kPosixSpawn = 43190;

  explicit AuditProcessTracker(const IProcessTable& table) : table_(table) {}

  [[nodiscard]] static bool shouldProcessRecord(uint16_t type);

  // One whole record; the change it reports, if any. A record that can't be
  // decoded is dropped with a log line.
  [[nodiscard]] std::optional<ProcessChange> handleRecord(std::span<const uint8_t> record);

  [[nodiscard]] uint64_t malformedRecords() const { return malformedRecords_; }

 private:
  void takeSubject(const bsm::SubjectToken& subject, Process& process) const;
  // The change a whole record of an event type we follow makes.
  ProcessChange finish(Process process);

  const IProcessTable& table_;
  std::optional<Process> lastFork_;
  uint64_t malformedRecords_ = 0;
};

}  // namespace sondrel
