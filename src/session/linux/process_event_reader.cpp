#include "session/linux/proc_connector_reader.h"

namespace sondrel {

std::unique_ptr<IProcessEventReader> makeSystemProcessEventReader(const IProcessTable& table) {
  return std::make_unique<linux_proc::ProcConnectorReader>(table);
}

}  // namespace sondrel
