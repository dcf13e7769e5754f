#include <atomic>

#include "frame/logger.h"
#include "session/console_user.h"

namespace sondrel {

// The seat's active user comes with the user-session family; until then the
// console has nobody, and that is said once.
std::optional<std::string> readConsoleUser(const void*) {
  static std::atomic<bool> said{false};
  if (!said.exchange(true)) Logger::logInfo("The console user is not read on this platform yet.");
  return std::nullopt;
}

}  // namespace sondrel
