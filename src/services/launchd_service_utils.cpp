#include "services/platform_service_utils.h"

namespace sondrel {

std::shared_ptr<IServiceUtils> makeLaunchdServiceUtils() {
  return std::make_shared<ServiceUtils>(std::make_shared<ServiceInfoCache>(), std::make_shared<ServiceCommandUtils>());
}

}  // namespace sondrel
