#include "frame/slots.h"

namespace sondrel::Slots {

// Each slot is leaked on purpose: a host may unregister from its own exit
// handlers, after static destructors would have run.
#define SONDREL_SLOT(Type, name)     \
  SourceSlot<Type>& name() {         \
    static auto* slot = new SourceSlot<Type>(); \
    return *slot;                    \
  }

SONDREL_SLOT(IEventSource, userEvents)
SONDREL_SLOT(IUserFollowingSource, processEvents)
SONDREL_SLOT(IEventSource, devicePerfEvents)
SONDREL_SLOT(IEventSource, appChangeEvents)
SONDREL_SLOT(IEventSource, appCrashEvents)
SONDREL_SLOT(IEventSource, systemCrashEvents)
SONDREL_SLOT(IEventSource, appHangEvents)
SONDREL_SLOT(IEventSource, assetEvents)
SONDREL_SLOT(IEventSource, systemUpdateEvents)
SONDREL_SLOT(IEventSource, resourceConsumerEvents)
SONDREL_SLOT(IEventSource, serviceChangeEvents)
SONDREL_SLOT(IEventSource, netAdapterEvents)
SONDREL_SLOT(IUserFollowingSource, appUnresponsiveEvents)

#undef SONDREL_SLOT

}  // namespace sondrel::Slots
