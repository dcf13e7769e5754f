#include "agent/sondrel_api.h"

#include <dlfcn.h>

namespace sondrel::tools {

namespace {
template <typename Function>
bool resolve(void* handle, const char* name, Function& function, std::string* error) {
  function = reinterpret_cast<Function>(dlsym(handle, name));
  if (function == nullptr) *error = std::string("missing export ") + name;
  return function != nullptr;
}
}  // namespace

bool loadSondrelApi(const std::string& path, SondrelApi& api, std::string* error) {
  api.handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (api.handle == nullptr) {
    const char* reason = dlerror();
    *error = reason != nullptr ? reason : "dlopen failed";
    return false;
  }
#define SONDREL_RESOLVE(name) \
  if (!resolve(api.handle, #name, api.name, error)) return false;
  SONDREL_RESOLVE(registerLogsCollectorCallback)
  SONDREL_RESOLVE(unregisterLogsCollectorCallback)
  SONDREL_RESOLVE(initMainLoop)
  SONDREL_RESOLVE(exitMainLoop)
  SONDREL_RESOLVE(registerUserEventsCallback)
  SONDREL_RESOLVE(unregisterUserEventsCallback)
  SONDREL_RESOLVE(registerProcessEventsCallback)
  SONDREL_RESOLVE(unregisterProcessEventsCallback)
  SONDREL_RESOLVE(registerDevicePerfEventsCallback)
  SONDREL_RESOLVE(unregisterDevicePerfEventsCallback)
  SONDREL_RESOLVE(registerResourceConsumerEventsCallback)
  SONDREL_RESOLVE(unregisterResourceConsumerEventsCallback)
  SONDREL_RESOLVE(registerAppCrashEventsCallback)
  SONDREL_RESOLVE(unregisterAppCrashEventsCallback)
  SONDREL_RESOLVE(registerSystemCrashEventsCallback)
  SONDREL_RESOLVE(unregisterSystemCrashEventsCallback)
  SONDREL_RESOLVE(registerAppHangEventsCallback)
  SONDREL_RESOLVE(unregisterAppHangEventsCallback)
  SONDREL_RESOLVE(registerAppUnresponsiveEventsCallback)
  SONDREL_RESOLVE(unregisterAppUnresponsiveEventsCallback)
  SONDREL_RESOLVE(registerAppChangeEventsCallback)
  SONDREL_RESOLVE(unregisterAppChangeEventsCallback)
  SONDREL_RESOLVE(registerSystemUpdateEventsCallback)
  SONDREL_RESOLVE(unregisterSystemUpdateEventsCallback)
  SONDREL_RESOLVE(registerAssetEventsCallback)
  SONDREL_RESOLVE(unregisterAssetEventsCallback)
  SONDREL_RESOLVE(registerServiceEventsCallback)
  SONDREL_RESOLVE(unregisterServiceEventsCallback)
  SONDREL_RESOLVE(registerNetEventsCallback)
  SONDREL_RESOLVE(unregisterNetEventsCallback)
#undef SONDREL_RESOLVE
  return true;
}

}  // namespace sondrel::tools
