// Register and unregister of the user session and process families.

#include "frame/export_guard.h"
#include "frame/logger.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

extern "C" {

SONDREL_EXPORT void registerUserEventsCallback(UserEventCallback) {
  guardExport("registerUserEventsCallback", [&] { Logger::logDebug("::registerUserEventsCallback"); });
}

SONDREL_EXPORT void unregisterUserEventsCallback(void) {
  guardExport("unregisterUserEventsCallback", [&] { Logger::logDebug("::unregisterUserEventsCallback"); });
}

SONDREL_EXPORT void registerProcessEventsCallback(ProcessEventCallback) {
  guardExport("registerProcessEventsCallback", [&] { Logger::logDebug("::registerProcessEventsCallback"); });
}

SONDREL_EXPORT void unregisterProcessEventsCallback(void) {
  guardExport("unregisterProcessEventsCallback", [&] { Logger::logDebug("::unregisterProcessEventsCallback"); });
}

}  // extern "C"
