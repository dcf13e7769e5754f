// Register and unregister of the service family.

#include <chrono>

#include "frame/export_guard.h"
#include "frame/logger.h"
#include "frame/slots.h"
#include "services/platform_service_utils.h"
#include "services/service_change_events.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

extern "C" {

SONDREL_EXPORT void registerServiceEventsCallback(ServiceEventCallback callback, const char* cachePath,
                                                  uint32_t interval) {
  guardExport("registerServiceEventsCallback", [&] {
    Logger::logDebug("::registerServiceEventsCallback with cache {}", rawText(cachePath));
    // This family converts its path before looking at the slot, unlike the others.
    const std::string cacheFolder = utf8OrEmpty(cachePath);
    const std::chrono::seconds period(interval);
    Slots::serviceChangeEvents().registerOnce(
        [&] { return ServiceChangeEvents::create(cacheFolder, period, makePlatformServiceUtils()); },
        [&](ServiceChangeEvents& source) { source.startListening(callback); });
  });
}

SONDREL_EXPORT void unregisterServiceEventsCallback(void) {
  guardExport("unregisterServiceEventsCallback", [&] {
    Logger::logDebug(":: unregisterServiceEventsCallback");
    Slots::serviceChangeEvents().unregister();
  });
}

}  // extern "C"
