// Register and unregister of the service family.

#include "frame/export_guard.h"
#include "frame/logger.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

extern "C" {

SONDREL_EXPORT void registerServiceEventsCallback(ServiceEventCallback, const char* cachePath, uint32_t) {
  guardExport("registerServiceEventsCallback",
              [&] { Logger::logDebug("::registerServiceEventsCallback with cache {}", rawText(cachePath)); });
}

SONDREL_EXPORT void unregisterServiceEventsCallback(void) {
  guardExport("unregisterServiceEventsCallback", [&] { Logger::logDebug(":: unregisterServiceEventsCallback"); });
}

}  // extern "C"
