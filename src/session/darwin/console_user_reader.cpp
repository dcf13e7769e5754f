#include <SystemConfiguration/SystemConfiguration.h>

#include "frame/darwin/cf_utils.h"
#include "session/console_user.h"

namespace sondrel {

std::optional<std::string> readConsoleUser(const void* store) {
  auto dynamicStore = static_cast<SCDynamicStoreRef>(const_cast<void*>(store));
  CFOwned<CFStringRef> name(SCDynamicStoreCopyConsoleUser(dynamicStore, nullptr, nullptr));
  return toUtf8(name.get());
}

}  // namespace sondrel
