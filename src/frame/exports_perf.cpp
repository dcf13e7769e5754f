// Register and unregister of the device performance family.

#include <memory>

#include "frame/export_guard.h"
#include "frame/logger.h"
#include "frame/slots.h"
#include "perf/device_perf_events.h"
#include "perf/device_perf_wiring.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

extern "C" {

SONDREL_EXPORT void registerDevicePerfEventsCallback(DevicePerfEventCallback callback, uint32_t interval) {
  guardExport("registerDevicePerfEventsCallback", [&] {
    Logger::logDebug("::registerDevicePerfEventsCallback");
    Slots::devicePerfEvents().registerOnce(
        [&] { return makeDevicePerfEvents(callback); },
        [interval](DevicePerfEvents& source) { source.startListening(interval); });
  });
}

SONDREL_EXPORT void unregisterDevicePerfEventsCallback(void) {
  guardExport("unregisterDevicePerfEventsCallback", [&] {
    Logger::logDebug("::unregisterDevicePerfEventsCallback");
    Slots::devicePerfEvents().unregister();
  });
}

}  // extern "C"
