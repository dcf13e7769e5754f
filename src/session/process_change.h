#pragma once
// What the platform readers hand to the process source: one process that
// started or ended, and the seam through which they are started and stopped.

#include <functional>
#include <memory>

#include "session/process.h"

namespace sondrel {

struct ProcessChange {
  enum Kind { started, ended } kind = started;
  Process process;
  // The process was gone before its details could be read: it is reported
  // with what the event itself carried.
  bool detailsGone = false;
};

using ProcessChangeSink = std::function<void(const ProcessChange&)>;

// Thread contract: start and stop from any thread; the sink is called on the
// reader's own thread.
class IProcessEventReader {
 public:
  virtual ~IProcessEventReader() = default;
  // False (and logged) when the event source can't be opened.
  virtual bool start(ProcessChangeSink sink) = 0;
  // Wakes the reader at once; returns when the sink will not be called again,
  // or at once when called from inside the sink (which is then the last call).
  virtual void stop() = 0;
};

// The platform's reader: the audit pipe on macOS, the process connector on Linux.
[[nodiscard]] std::unique_ptr<IProcessEventReader> makeSystemProcessEventReader(const IProcessTable& table);

}  // namespace sondrel
