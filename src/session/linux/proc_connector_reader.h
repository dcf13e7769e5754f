#pragma once
// Reads the process connector's netlink socket (root only) and reports each
// fork, exec and exit, completed from /proc. A burst larger than the receive
// buffer loses events: the kernel says so with ENOBUFS, which is counted and logged.
// Thread contract: start/stop from any thread; the sink runs on the reader's thread.

#include <atomic>
#include <cstdint>
#include <memory>
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

 private:
  // What the reading thread uses, shared with it: the reader may be released
  // from inside its own sink while the thread is still on its way out.
  struct Session {
    Session(UniqueFd opened, ProcessChangeSink changes, const IProcessTable& table);
    ~Session();
    bool readAvailable();
    bool sendListenRequest(bool listen);

    UniqueFd socket;
    ProcessChangeSink sink;
    ConnectorTracker tracker;
    std::vector<uint8_t> datagram;
    uint64_t overflows = 0;  // times the kernel told us events were lost
    // Events already read are not worked through once stop was asked for.
    std::atomic<bool> stopRequested{false};
  };

  const IProcessTable& table_;
  std::shared_ptr<Session> session_;
  ReadLoop loop_{"Process connector reader"};
};

}  // namespace sondrel::linux_proc
