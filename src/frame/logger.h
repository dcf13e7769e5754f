#pragma once
// The one logging facade. A line goes to the host's collector when one is
// registered and to the system log otherwise, never to both.
// Thread contract: any thread may log; the collector pointer is swapped atomically.

#include <atomic>
#include <cstdint>
#include <string_view>

#include <fmt/format.h>

#include "sondrel/sondrel.h"

namespace sondrel {

enum class LogLevel : uint32_t { verbose = 0, debug = 1, info = 2, warning = 3, error = 4, critical = 5 };

// The system log knows fewer kinds than we have levels.
enum class NativeLogType { debug, info, error };
[[nodiscard]] NativeLogType nativeLogTypeFor(LogLevel level);

// A raw level from the C interface, refused when it names no level.
[[nodiscard]] bool isValidLogLevel(uint32_t rawLevel);

class Logger {
 public:
  // Reverse-DNS identity of the library in the system log and towards the collector.
  static constexpr std::string_view libSondrelSubsystem = "dev.sondrel.libsondrel.dylib";

  static Logger& shared();

  void registerLogs(LogsCollectorCallback collector);
  void unregisterLogsCollector();
  void log(LogLevel level, std::string_view message);
  void logNative(LogLevel level, std::string_view subsystem, std::string_view category, std::string_view message);

  template <typename... Args>
  static void logVerbose(fmt::format_string<Args...> format, Args&&... args) {
    shared().log(LogLevel::verbose, fmt::format(format, std::forward<Args>(args)...));
  }
  template <typename... Args>
  static void logDebug(fmt::format_string<Args...> format, Args&&... args) {
    shared().log(LogLevel::debug, fmt::format(format, std::forward<Args>(args)...));
  }
  template <typename... Args>
  static void logInfo(fmt::format_string<Args...> format, Args&&... args) {
    shared().log(LogLevel::info, fmt::format(format, std::forward<Args>(args)...));
  }
  template <typename... Args>
  static void logWarning(fmt::format_string<Args...> format, Args&&... args) {
    shared().log(LogLevel::warning, fmt::format(format, std::forward<Args>(args)...));
  }
  template <typename... Args>
  static void logError(fmt::format_string<Args...> format, Args&&... args) {
    shared().log(LogLevel::error, fmt::format(format, std::forward<Args>(args)...));
  }
  template <typename... Args>
  static void logCritical(fmt::format_string<Args...> format, Args&&... args) {
    shared().log(LogLevel::critical, fmt::format(format, std::forward<Args>(args)...));
  }

 private:
  Logger() = default;
  std::atomic<LogsCollectorCallback> logsCollectorCallback{nullptr};
};

// Writes one line to the platform's system log (unified log on macOS, syslog on Linux).
void writeNativeLog(NativeLogType type, std::string_view subsystem, std::string_view category,
                    std::string_view message);

}  // namespace sondrel
