#include "agent/families.h"

#include <cstdint>
#include <set>
#include <string>

#include "agent/agent_options.h"
#include "agent/record_output.h"
#include "agent/sondrel_api.h"

namespace sondrel::tools {

namespace {

struct Intervals {
  uint32_t devicePerf = 10;
  uint32_t consumerSnapshot = 5;
  uint32_t consumerEvent = 60;
  uint32_t reports = 60;
  uint32_t appChange = 300;
  uint32_t systemUpdate = 3600;
  uint32_t asset = 3600;
  uint32_t service = 60;
  double netRefresh = 30, netStats = 60, netConnectDelay = 5, netStatsDelay = 10;
};

Intervals intervalsFor(const AgentOptions& options) {
  Intervals intervals;
  if (!options.interval) return intervals;
  const uint32_t every = *options.interval;
  intervals.devicePerf = intervals.consumerEvent = intervals.reports = every;
  intervals.appChange = intervals.systemUpdate = intervals.asset = intervals.service = every;
  intervals.consumerSnapshot = every / 5 < 2 ? 2 : every / 5;  // the sampler refuses less than two seconds
  intervals.netRefresh = intervals.netStats = every;
  return intervals;
}

// What a family's registration needs besides its callback.
struct Registration {
  const SondrelApi& api;
  const Intervals& every;
  const char* cache;
  const std::set<std::string>& wanted;
};

struct Family {
  const char* name;
  void (*registerWith)(const Registration& registration);
  void (*unregisterWith)(const SondrelApi& api);
};

// The two network families share one registration, with a callback each.
void registerNet(const Registration& r) {
  NetAdapterEventCallback adapter = nullptr;
  NetL2EventCallback network = nullptr;
  if (r.wanted.contains("netAdapter")) adapter = [](device_network_adapter_t*) { emitOpaqueRecord("netAdapter"); };
  if (r.wanted.contains("netL2")) network = [](net_event_l2_t*) { emitOpaqueRecord("netL2"); };
  r.api.registerNetEventsCallback(adapter, network, r.every.netRefresh, r.every.netStats, r.every.netConnectDelay,
                                  r.every.netStatsDelay);
}

void unregisterNet(const SondrelApi& api) { api.unregisterNetEventsCallback(); }

constexpr Family kFamilies[] = {
    {"user",
     [](const Registration& r) {
       r.api.registerUserEventsCallback([](user_event_t* e) { emitRecord("user", e); });
     },
     [](const SondrelApi& api) { api.unregisterUserEventsCallback(); }},
    {"process",
     [](const Registration& r) {
       r.api.registerProcessEventsCallback([](process_event_t* e) { emitRecord("process", e); });
     },
     [](const SondrelApi& api) { api.unregisterProcessEventsCallback(); }},
    {"devicePerf",
     [](const Registration& r) {
       r.api.registerDevicePerfEventsCallback([](device_perf_event_t* e) { emitRecord("devicePerf", e); },
                                              r.every.devicePerf);
     },
     [](const SondrelApi& api) { api.unregisterDevicePerfEventsCallback(); }},
    {"resourceConsumer",
     [](const Registration& r) {
       r.api.registerResourceConsumerEventsCallback(
           [](resource_consumer_event_t* e) { emitRecord("resourceConsumer", e); }, r.every.consumerSnapshot,
           r.every.consumerEvent);
     },
     [](const SondrelApi& api) { api.unregisterResourceConsumerEventsCallback(); }},
    {"appCrash",
     [](const Registration& r) {
       r.api.registerAppCrashEventsCallback([](app_crash_event_t* e) { emitRecord("appCrash", e); }, r.cache,
                                            r.every.reports);
     },
     [](const SondrelApi& api) { api.unregisterAppCrashEventsCallback(); }},
    {"systemCrash",
     [](const Registration& r) {
       r.api.registerSystemCrashEventsCallback([](system_crash_event_t* e) { emitRecord("systemCrash", e); },
                                               r.cache, r.every.reports);
     },
     [](const SondrelApi& api) { api.unregisterSystemCrashEventsCallback(); }},
    {"appHang",
     [](const Registration& r) {
       r.api.registerAppHangEventsCallback([](app_hang_event_t* e) { emitRecord("appHang", e); }, r.cache,
                                           r.every.reports);
     },
     [](const SondrelApi& api) { api.unregisterAppHangEventsCallback(); }},
    {"appUnresponsive",
     [](const Registration& r) {
       r.api.registerAppUnresponsiveEventsCallback(
           [](app_unresponsive_event_t*) { emitOpaqueRecord("appUnresponsive"); });
     },
     [](const SondrelApi& api) { api.unregisterAppUnresponsiveEventsCallback(); }},
    {"appChange",
     [](const Registration& r) {
       r.api.registerAppChangeEventsCallback([](app_change_event_t*) { emitOpaqueRecord("appChange"); }, r.cache,
                                             r.every.appChange);
     },
     [](const SondrelApi& api) { api.unregisterAppChangeEventsCallback(); }},
    {"systemUpdate",
     [](const Registration& r) {
       r.api.registerSystemUpdateEventsCallback([](system_update_event_t*) { emitOpaqueRecord("systemUpdate"); },
                                                r.cache, r.every.systemUpdate);
     },
     [](const SondrelApi& api) { api.unregisterSystemUpdateEventsCallback(); }},
    {"asset",
     [](const Registration& r) {
       r.api.registerAssetEventsCallback([](asset_event_t*) { emitOpaqueRecord("asset"); }, r.every.asset);
     },
     [](const SondrelApi& api) { api.unregisterAssetEventsCallback(); }},
    {"service",
     [](const Registration& r) {
       r.api.registerServiceEventsCallback([](service_event_t* e) { emitRecord("service", e); }, r.cache,
                                           r.every.service);
     },
     [](const SondrelApi& api) { api.unregisterServiceEventsCallback(); }},
    {"netAdapter", registerNet, unregisterNet},
    {"netL2", registerNet, unregisterNet},
};

}  // namespace

const std::vector<std::string>& allFamilies() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> list;
    for (const auto& family : kFamilies) list.emplace_back(family.name);
    return list;
  }();
  return names;
}

void registerFamilies(const SondrelApi& api, const AgentOptions& options) {
  const Intervals every = intervalsFor(options);
  const Registration registration{api, every, options.cacheDir.c_str(), options.families};
  std::set<void (*)(const Registration&)> registered;  // a shared registration happens once
  for (const auto& family : kFamilies) {
    if (options.families.contains(family.name) && registered.insert(family.registerWith).second) {
      family.registerWith(registration);
    }
  }
}

void unregisterFamilies(const SondrelApi& api, const AgentOptions& options) {
  std::set<void (*)(const SondrelApi&)> unregistered;
  for (const auto& family : kFamilies) {
    if (options.families.contains(family.name) && unregistered.insert(family.unregisterWith).second) {
      family.unregisterWith(api);
    }
  }
}

}  // namespace sondrel::tools
