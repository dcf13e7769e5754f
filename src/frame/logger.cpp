#include "frame/logger.h"

#include <string>

namespace sondrel {

NativeLogType nativeLogTypeFor(LogLevel level) {
  switch (level) {
    case LogLevel::verbose:
    case LogLevel::debug:
      return NativeLogType::debug;
    case LogLevel::info:
      return NativeLogType::info;
    case LogLevel::warning:
    case LogLevel::error:
    case LogLevel::critical:
      return NativeLogType::error;
  }
  return NativeLogType::error;
}

bool isValidLogLevel(uint32_t rawLevel) { return rawLevel <= static_cast<uint32_t>(LogLevel::critical); }

Logger& Logger::shared() {
  // Never destroyed: threads of the host may log while the process exits.
  static Logger* instance = new Logger();
  return *instance;
}

void Logger::registerLogs(LogsCollectorCallback collector) {
  logsCollectorCallback.store(collector);
  logDebug("Successfully registered logs collector.");
}

void Logger::unregisterLogsCollector() {
  logsCollectorCallback.store(nullptr);
  logDebug("Successfully unregistered logs collector.");
}

void Logger::log(LogLevel level, std::string_view message) {
  LogsCollectorCallback collector = logsCollectorCallback.load();
  if (collector == nullptr) {
    writeNativeLog(nativeLogTypeFor(level), libSondrelSubsystem, "", message);
    return;
  }
  // The collector gets NUL-terminated text that lives until it returns; the
  // subsystem views a string literal, which already is.
  const std::string text(message);
  collector(static_cast<uint32_t>(level), libSondrelSubsystem.data(), text.c_str());
}

void Logger::logNative(LogLevel level, std::string_view subsystem, std::string_view category,
                       std::string_view message) {
  writeNativeLog(nativeLogTypeFor(level), subsystem, category, message);
}

}  // namespace sondrel
