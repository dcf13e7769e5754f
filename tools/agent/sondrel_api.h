#pragma once
// The library's exports as a host agent sees them: resolved one by one from
// the shared library it loaded.

#include <string>

#include "sondrel/sondrel.h"

namespace sondrel::tools {

struct SondrelApi {
  void* handle = nullptr;
  decltype(&::registerLogsCollectorCallback) registerLogsCollectorCallback = nullptr;
  decltype(&::unregisterLogsCollectorCallback) unregisterLogsCollectorCallback = nullptr;
  decltype(&::initMainLoop) initMainLoop = nullptr;
  decltype(&::exitMainLoop) exitMainLoop = nullptr;
  decltype(&::registerUserEventsCallback) registerUserEventsCallback = nullptr;
  decltype(&::unregisterUserEventsCallback) unregisterUserEventsCallback = nullptr;
  decltype(&::registerProcessEventsCallback) registerProcessEventsCallback = nullptr;
  decltype(&::unregisterProcessEventsCallback) unregisterProcessEventsCallback = nullptr;
  decltype(&::registerDevicePerfEventsCallback) registerDevicePerfEventsCallback = nullptr;
  decltype(&::unregisterDevicePerfEventsCallback) unregisterDevicePerfEventsCallback = nullptr;
  decltype(&::registerResourceConsumerEventsCallback) registerResourceConsumerEventsCallback = nullptr;
  decltype(&::unregisterResourceConsumerEventsCallback) unregisterResourceConsumerEventsCallback = nullptr;
  decltype(&::registerAppCrashEventsCallback) registerAppCrashEventsCallback = nullptr;
  decltype(&::unregisterAppCrashEventsCallback) unregisterAppCrashEventsCallback = nullptr;
  decltype(&::registerSystemCrashEventsCallback) registerSystemCrashEventsCallback = nullptr;
  decltype(&::unregisterSystemCrashEventsCallback) unregisterSystemCrashEventsCallback = nullptr;
  decltype(&::registerAppHangEventsCallback) registerAppHangEventsCallback = nullptr;
  decltype(&::unregisterAppHangEventsCallback) unregisterAppHangEventsCallback = nullptr;
  decltype(&::registerAppUnresponsiveEventsCallback) registerAppUnresponsiveEventsCallback = nullptr;
  decltype(&::unregisterAppUnresponsiveEventsCallback) unregisterAppUnresponsiveEventsCallback = nullptr;
  decltype(&::registerAppChangeEventsCallback) registerAppChangeEventsCallback = nullptr;
  decltype(&::unregisterAppChangeEventsCallback) unregisterAppChangeEventsCallback = nullptr;
  decltype(&::registerSystemUpdateEventsCallback) registerSystemUpdateEventsCallback = nullptr;
  decltype(&::unregisterSystemUpdateEventsCallback) unregisterSystemUpdateEventsCallback = nullptr;
  decltype(&::registerAssetEventsCallback) registerAssetEventsCallback = nullptr;
  decltype(&::unregisterAssetEventsCallback) unregisterAssetEventsCallback = nullptr;
  decltype(&::registerServiceEventsCallback) registerServiceEventsCallback = nullptr;
  decltype(&::unregisterServiceEventsCallback) unregisterServiceEventsCallback = nullptr;
  decltype(&::registerNetEventsCallback) registerNetEventsCallback = nullptr;
  decltype(&::unregisterNetEventsCallback) unregisterNetEventsCallback = nullptr;
};

// Loads the library at path and resolves every export above; false with the
// loader's reason when the library or one export is missing.
bool loadSondrelApi(const std::string& path, SondrelApi& api, std::string* error);

}  // namespace sondrel::tools
