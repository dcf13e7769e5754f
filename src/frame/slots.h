#pragma once
// The thirteen family slots of the process.

#include "frame/event_source.h"
#include "frame/source_slot.h"

namespace sondrel::Slots {

SourceSlot<IEventSource>& userEvents();
SourceSlot<IUserFollowingSource>& processEvents();
SourceSlot<IEventSource>& devicePerfEvents();
SourceSlot<IEventSource>& appChangeEvents();
SourceSlot<IEventSource>& appCrashEvents();
SourceSlot<IEventSource>& systemCrashEvents();
SourceSlot<IEventSource>& appHangEvents();
SourceSlot<IEventSource>& assetEvents();
SourceSlot<IEventSource>& systemUpdateEvents();
SourceSlot<IEventSource>& resourceConsumerEvents();
SourceSlot<IEventSource>& serviceChangeEvents();
SourceSlot<IEventSource>& netAdapterEvents();
SourceSlot<IUserFollowingSource>& appUnresponsiveEvents();

}  // namespace sondrel::Slots
