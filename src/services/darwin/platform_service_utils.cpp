#include "services/platform_service_utils.h"

namespace sondrel {

std::shared_ptr<IServiceUtils> makePlatformServiceUtils() { return makeLaunchdServiceUtils(); }

}  // namespace sondrel
