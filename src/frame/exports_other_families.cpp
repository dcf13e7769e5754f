// Register and unregister of the families whose records are defined later:
// application unresponsiveness and changes, system updates, assets, network.

#include "frame/export_guard.h"
#include "frame/logger.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

extern "C" {

SONDREL_EXPORT void registerAppUnresponsiveEventsCallback(AppUnresponsiveEventCallback) {
  guardExport("registerAppUnresponsiveEventsCallback",
              [&] { Logger::logDebug(":: registerAppUnresponsiveEventsCallback"); });
}

SONDREL_EXPORT void unregisterAppUnresponsiveEventsCallback(void) {
  guardExport("unregisterAppUnresponsiveEventsCallback",
              [&] { Logger::logDebug(":: unregisterAppUnresponsiveEventsCallback"); });
}

SONDREL_EXPORT void registerAppChangeEventsCallback(AppChangeEventCallback, const char* cachePath, uint32_t) {
  guardExport("registerAppChangeEventsCallback",
              [&] { Logger::logDebug("::registerAppChangeEventsCallback with cache {}", rawText(cachePath)); });
}

SONDREL_EXPORT void unregisterAppChangeEventsCallback(void) {
  guardExport("unregisterAppChangeEventsCallback", [&] { Logger::logDebug("::unregisterAppChangeEventsCallback"); });
}

SONDREL_EXPORT void registerSystemUpdateEventsCallback(SystemUpdateEventCallback, const char* cachePath, uint32_t) {
  guardExport("registerSystemUpdateEventsCallback",
              [&] { Logger::logDebug("::registerSystemUpdateEventsCallback with cache {}", rawText(cachePath)); });
}

SONDREL_EXPORT void unregisterSystemUpdateEventsCallback(void) {
  guardExport("unregisterSystemUpdateEventsCallback",
              [&] { Logger::logDebug(":: unregisterSystemUpdateEventsCallback"); });
}

SONDREL_EXPORT void registerAssetEventsCallback(AssetEventCallback, uint32_t) {
  guardExport("registerAssetEventsCallback", [&] { Logger::logDebug("::registerAssetEventsCallback"); });
}

SONDREL_EXPORT void unregisterAssetEventsCallback(void) {
  guardExport("unregisterAssetEventsCallback", [&] { Logger::logDebug("::unregisterAssetEventsCallback"); });
}

SONDREL_EXPORT void registerNetEventsCallback(NetAdapterEventCallback, NetL2EventCallback, double, double, double,
                                              double) {
  guardExport("registerNetEventsCallback", [&] { Logger::logDebug(":: registerNetEventsCallback"); });
}

SONDREL_EXPORT void unregisterNetEventsCallback(void) {
  guardExport("unregisterNetEventsCallback", [&] { Logger::logDebug(":: unregisterNetEventsCallback"); });
}

}  // extern "C"
