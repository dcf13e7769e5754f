// Register and unregister of the diagnostic report families: crashes, panics, hangs.

#include <chrono>
#include <memory>

#include "frame/export_guard.h"
#include "frame/logger.h"
#include "frame/slots.h"
#include "reports/app_crash_events.h"
#include "reports/app_hang_events.h"
#include "reports/system_crash_events.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

namespace {

// Builds the family's source with a fresh parser and starts it, unless the family is registered.
template <typename Source, typename Parser, typename Callback>
void registerReportSource(SourceSlot<IEventSource>& slot, Callback callback, const char* cachePath,
                          uint32_t interval) {
  slot.registerOnce(
      [&] {
        return std::make_shared<Source>(utf8OrEmpty(cachePath), std::make_unique<Parser>(),
                                        std::chrono::seconds(interval));
      },
      [&](Source& source) { source.startListening(callback); });
}

}  // namespace

extern "C" {

SONDREL_EXPORT void registerAppCrashEventsCallback(AppCrashEventCallback callback, const char* cachePath,
                                                   uint32_t interval) {
  guardExport("registerAppCrashEventsCallback", [&] {
    Logger::logDebug("::registerAppCrashEventsCallback with cache {}", rawText(cachePath));
    registerReportSource<AppCrashEvents, CrashReportParser>(Slots::appCrashEvents(), callback, cachePath, interval);
  });
}

SONDREL_EXPORT void unregisterAppCrashEventsCallback(void) {
  guardExport("unregisterAppCrashEventsCallback", [&] {
    Logger::logDebug("::unregisterAppCrashEventsCallback");
    Slots::appCrashEvents().unregister();
  });
}

SONDREL_EXPORT void registerSystemCrashEventsCallback(SystemCrashEventCallback callback, const char* cachePath,
                                                      uint32_t interval) {
  guardExport("registerSystemCrashEventsCallback", [&] {
    Logger::logDebug("::registerSystemCrashEventsCallback with cache {}", rawText(cachePath));
    registerReportSource<SystemCrashEvents, PanicReportParser>(Slots::systemCrashEvents(), callback, cachePath,
                                                               interval);
  });
}

SONDREL_EXPORT void unregisterSystemCrashEventsCallback(void) {
  guardExport("unregisterSystemCrashEventsCallback", [&] {
    Logger::logDebug("::unregisterSystemCrashEventsCallback");
    Slots::systemCrashEvents().unregister();
  });
}

SONDREL_EXPORT void registerAppHangEventsCallback(AppHangEventCallback callback, const char* cachePath,
                                                  uint32_t interval) {
  guardExport("registerAppHangEventsCallback", [&] {
    Logger::logDebug("::registerAppHangEventsCallback with cache {}", rawText(cachePath));
    registerReportSource<AppHangEvents, AppHangReportParser>(Slots::appHangEvents(), callback, cachePath, interval);
  });
}

SONDREL_EXPORT void unregisterAppHangEventsCallback(void) {
  guardExport("unregisterAppHangEventsCallback", [&] {
    Logger::logDebug("::unregisterAppHangEventsCallback");
    Slots::appHangEvents().unregister();
  });
}

}  // extern "C"
