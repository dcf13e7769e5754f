#include "services/systemd_service_utils.h"
#include "services/platform_service_utils.h"

namespace sondrel {

std::shared_ptr<IServiceUtils> makePlatformServiceUtils() { return std::make_shared<SystemdServiceUtils>(); }

}  // namespace sondrel
