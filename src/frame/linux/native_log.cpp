#include <syslog.h>

#include <string>

#include "frame/logger.h"

namespace sondrel {

namespace {
int syslogPriorityFor(NativeLogType type) {
  switch (type) {
    case NativeLogType::debug:
      return LOG_DEBUG;
    case NativeLogType::info:
      return LOG_INFO;
    case NativeLogType::error:
      return LOG_ERR;
  }
  return LOG_ERR;
}
}  // namespace

// syslog has no subsystem or category: both lead the line so that the system
// log still tells who wrote it. openlog is left to the host process.
void writeNativeLog(NativeLogType type, std::string_view subsystem, std::string_view category,
                    std::string_view message) {
  const std::string tag = category.empty() ? std::string(subsystem)
                                           : std::string(subsystem) + "/" + std::string(category);
  syslog(LOG_USER | syslogPriorityFor(type), "[%s] %.*s", tag.c_str(), static_cast<int>(message.size()),
         message.data());
}

}  // namespace sondrel
