#pragma once
// The Linux process connector: netlink datagrams of fork, exec and exit
// events, parsed here, and completed from /proc into the process changes the
// process source reports (audit types: fork 2, execve 23, exit 1).
// Thread contract: a tracker belongs to one reader thread.

#include <cstdint>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "session/process_change.h"

namespace sondrel::linux_proc {

struct ConnectorEvent {
  enum Kind { fork, exec, exit } kind = fork;
  uint32_t pid = 0;   // fork: the child; exec, exit: the process (thread ids)
  uint32_t tgid = 0;  // the same, as process ids
  uint32_t parentPid = 0;
  uint32_t parentTgid = 0;  // fork, and exit on kernels that carry it
  uint32_t exitCode = 0;    // exit: the wait status
};

// Every fork, exec and exit event of one datagram from the kernel; other
// event kinds and other connectors are left out, damaged messages end the walk.
[[nodiscard]] std::vector<ConnectorEvent> parseConnectorDatagram(std::span<const uint8_t> datagram);

// A wait status as a shell reports it: the exit code, or 128 + the signal.
[[nodiscard]] uint32_t exitStatusFromWaitStatus(uint32_t waitStatus);

class ConnectorTracker {
 public:
  explicit ConnectorTracker(const IProcessTable& table) : table_(table) {}

  // Threads are not processes: their forks and exits give nothing.
  [[nodiscard]] std::optional<ProcessChange> handleEvent(const ConnectorEvent& event);

 private:
  void fillFromTable(Process& process, uint32_t fallbackPid);

  const IProcessTable& table_;
  // Parents seen in fork events, for processes gone before we read them.
  std::unordered_map<uint32_t, uint32_t> parents_;
};

}  // namespace sondrel::linux_proc
