// Exports of the frame itself: the log collector, the system log, the main loop.

#include <cstdlib>

#include "frame/export_guard.h"
#include "frame/logger.h"
#include "frame/main_loop.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

extern "C" {

SONDREL_EXPORT void registerLogsCollectorCallback(LogsCollectorCallback callback) {
  guardExport("registerLogsCollectorCallback", [&] { Logger::shared().registerLogs(callback); });
}

SONDREL_EXPORT void unregisterLogsCollectorCallback(void) {
  guardExport("unregisterLogsCollectorCallback", [&] { Logger::shared().unregisterLogsCollector(); });
}

SONDREL_EXPORT void nativeLog(uint32_t level, const char* subsystem, const char* category, const char* message) {
  guardExport("nativeLog", [&] {
    if (!isValidLogLevel(level)) {
      Logger::logWarning("nativeLog: level {} is not a log level; the line was not written.", level);
      return;
    }
    if (subsystem == nullptr || category == nullptr || message == nullptr) return;
    if (!isValidUtf8(subsystem) || !isValidUtf8(category) || !isValidUtf8(message)) return;
    Logger::shared().logNative(static_cast<LogLevel>(level), subsystem, category, message);
  });
}

SONDREL_EXPORT void initMainLoop(void) {
  guardExport("initMainLoop", [&] {
    Logger::logDebug("::initMainLoop");
    runMainLoop();
  });
}

SONDREL_EXPORT void exitMainLoop(void) {
  guardExport("exitMainLoop", [&] {
    Logger::logDebug("::exitMainLoop");
    stopMainLoop();
  });
}

SONDREL_EXPORT void sondrelFree(void* memory) { std::free(memory); }

}  // extern "C"
