// Register and unregister of the user session and process families.

#include "frame/export_guard.h"
#include "frame/logger.h"
#include "frame/slots.h"
#include "session/console_user.h"
#include "session/process_events.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

extern "C" {

SONDREL_EXPORT void registerUserEventsCallback(UserEventCallback) {
  guardExport("registerUserEventsCallback", [&] { Logger::logDebug("::registerUserEventsCallback"); });
}

SONDREL_EXPORT void unregisterUserEventsCallback(void) {
  guardExport("unregisterUserEventsCallback", [&] { Logger::logDebug("::unregisterUserEventsCallback"); });
}

SONDREL_EXPORT void registerProcessEventsCallback(ProcessEventCallback callback) {
  guardExport("registerProcessEventsCallback", [&] {
    Logger::logDebug("::registerProcessEventsCallback");
    // Read before the slot is locked: userSwitched holds its own lock while
    // it looks into the slot, so taking them the other way round could deadlock.
    const auto lastUser = ConsoleUser::lastSwitchedUser();
    Slots::processEvents().registerOnce(
        [&] {
          auto created = ProcessEvents::create();
          // A switch seen before this family existed reaches it before it listens.
          created->onUserSwitched(lastUser);
          return created;
        },
        [&](ProcessEvents& source) { source.startListening(callback); });
  });
}

SONDREL_EXPORT void unregisterProcessEventsCallback(void) {
  guardExport("unregisterProcessEventsCallback", [&] {
    Logger::logDebug("::unregisterProcessEventsCallback");
    Slots::processEvents().unregister();
  });
}

}  // extern "C"
