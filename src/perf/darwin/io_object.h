#pragma once
// IOKit objects released exactly once.

#include <IOKit/IOKitLib.h>

#include "frame/owned.h"

namespace sondrel {

inline void releaseIOObject(io_object_t object) { IOObjectRelease(object); }
using UniqueIOObject = Owned<io_object_t, static_cast<io_object_t>(IO_OBJECT_NULL), releaseIOObject>;

}  // namespace sondrel
