// Register and unregister of the device performance family.

#include "frame/export_guard.h"
#include "frame/logger.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

extern "C" {

SONDREL_EXPORT void registerDevicePerfEventsCallback(DevicePerfEventCallback, uint32_t) {
  guardExport("registerDevicePerfEventsCallback", [&] { Logger::logDebug("::registerDevicePerfEventsCallback"); });
}

SONDREL_EXPORT void unregisterDevicePerfEventsCallback(void) {
  guardExport("unregisterDevicePerfEventsCallback",
              [&] { Logger::logDebug("::unregisterDevicePerfEventsCallback"); });
}

}  // extern "C"
