// Register and unregister of the diagnostic report families: crashes, panics, hangs.

#include "frame/export_guard.h"
#include "frame/logger.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

extern "C" {

SONDREL_EXPORT void registerAppCrashEventsCallback(AppCrashEventCallback, const char* cachePath, uint32_t) {
  guardExport("registerAppCrashEventsCallback",
              [&] { Logger::logDebug("::registerAppCrashEventsCallback with cache {}", rawText(cachePath)); });
}

SONDREL_EXPORT void unregisterAppCrashEventsCallback(void) {
  guardExport("unregisterAppCrashEventsCallback", [&] { Logger::logDebug("::unregisterAppCrashEventsCallback"); });
}

SONDREL_EXPORT void registerSystemCrashEventsCallback(SystemCrashEventCallback, const char* cachePath, uint32_t) {
  guardExport("registerSystemCrashEventsCallback",
              [&] { Logger::logDebug("::registerSystemCrashEventsCallback with cache {}", rawText(cachePath)); });
}

SONDREL_EXPORT void unregisterSystemCrashEventsCallback(void) {
  guardExport("unregisterSystemCrashEventsCallback",
              [&] { Logger::logDebug("::unregisterSystemCrashEventsCallback"); });
}

SONDREL_EXPORT void registerAppHangEventsCallback(AppHangEventCallback, const char* cachePath, uint32_t) {
  guardExport("registerAppHangEventsCallback",
              [&] { Logger::logDebug("::registerAppHangEventsCallback with cache {}", rawText(cachePath)); });
}

SONDREL_EXPORT void unregisterAppHangEventsCallback(void) {
  guardExport("unregisterAppHangEventsCallback", [&] { Logger::logDebug("::unregisterAppHangEventsCallback"); });
}

}  // extern "C"
