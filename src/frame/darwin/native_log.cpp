#include <os/log.h>

#include <string>

#include "frame/logger.h"

namespace sondrel {

namespace {
os_log_type_t osLogTypeFor(NativeLogType type) {
  switch (type) {
    case NativeLogType::debug:
      return OS_LOG_TYPE_DEBUG;
    case NativeLogType::info:
      return OS_LOG_TYPE_INFO;
    case NativeLogType::error:
      return OS_LOG_TYPE_ERROR;
  }
  return OS_LOG_TYPE_ERROR;
}
}  // namespace

// One handle per line, as the unified log caches handles itself.
void writeNativeLog(NativeLogType type, std::string_view subsystem, std::string_view category,
                    std::string_view message) {
  const std::string subsystemText(subsystem);
  const std::string categoryText(category);
  const std::string text(message);
  os_log_t handle = os_log_create(subsystemText.c_str(), categoryText.c_str());
  os_log_with_type(handle, osLogTypeFor(type), "%{public}s", text.c_str());
  os_release(handle);
}

}  // namespace sondrel
