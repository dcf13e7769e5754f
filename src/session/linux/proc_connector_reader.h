#pragma once
// Reads the process connector's netlink socket (root only) and reports each
// fork, exec and exit, completed from /proc. A burst larger than the receive
// buffer loses events: the kernel says so with ENOBUFS, which is counted and logged.
// Thread contract: start/stop from any thread; the sink runs on the reader's thread.

#include <cstdint>
#include <vector>

#include "frame/owned.h"
#include "session/linux/proc_connector.h"
#include "session/process_change.h"
#include "session/read_loop.h"

namespace sondrel::linux_proc {

class ProcConnectorReader final : public IProcessEventReader {
 public:
  explicit ProcConnectorReader(const IProcessTable& table);
  ~ProcConnectorReader() override;

  bool start(ProcessChangeSink sink) override;
  void stop() override;

  // Times the kernel told us events were lost.
  [[nodiscard]] uint64_t overflows() const { return overflows_; }

 private:
  bool readAvailable();
  bool sendListenRequest(bool listen);

  ConnectorTracker tracker_;
  UniqueFd socket_;
  ProcessChangeSink sink_;
  std::vector<uint8_t> datagram_;
  uint64_t overflows_ = 0;
  ReadLoop loop_{"Process connector reader"};
};

}  // namespace sondrel::linux_proc
