#pragma once
// The inventory the registered service family uses on this platform: launchd
// on macOS, systemd on Linux. One file per platform.

#include <memory>

#include "services/service_utils.h"

namespace sondrel {

[[nodiscard]] std::shared_ptr<IServiceUtils> makePlatformServiceUtils();

// The launchd inventory with the fixed folders and tools; it runs anywhere,
// and finds nothing where launchd is absent.
[[nodiscard]] std::shared_ptr<IServiceUtils> makeLaunchdServiceUtils();

}  // namespace sondrel
