// Register and unregister of the resource consumer family.

#include "frame/export_guard.h"
#include "frame/logger.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

extern "C" {

SONDREL_EXPORT void registerResourceConsumerEventsCallback(ResourceConsumerEventCallback, uint32_t, uint32_t) {
  guardExport("registerResourceConsumerEventsCallback",
              [&] { Logger::logDebug(":: registerResourceConsumptionEventsCallback"); });
}

SONDREL_EXPORT void unregisterResourceConsumerEventsCallback(void) {
  guardExport("unregisterResourceConsumerEventsCallback",
              [&] { Logger::logDebug(":: unregisterResourceConsumerEventsCallback"); });
}

}  // extern "C"
