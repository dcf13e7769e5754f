#pragma once
// The service family's source: polls the inventory, compares it with the last
// one (kept on disk as "services.plist") and reports each service that came
// as installed and each that went as removed.
// Thread contract: cachedServices, timer_ and the cache file are touched only
// on execQueue ("serviceChangeEventsQueue"); the callback runs there too.

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "frame/callback_gate.h"
#include "frame/dispatch.h"
#include "frame/event_source.h"
#include "services/service_info.h"
#include "services/service_utils.h"
#include "sondrel/sondrel.h"

namespace sondrel {

inline constexpr const char* kServicesCacheFileName = "services.plist";

struct ServiceChange {
  ServiceInfoSet installed;
  std::optional<ServiceInfoSet> removed;  // none on a first poll
};

class ServiceChangeEvents final : public IEventSource, public std::enable_shared_from_this<ServiceChangeEvents> {
 public:
  // cachePath is the folder of the cache file; "" keeps no file, so every
  // new source starts from a first poll.
  static std::shared_ptr<ServiceChangeEvents> create(const std::string& cachePath, std::chrono::nanoseconds interval,
                                                     std::shared_ptr<IServiceUtils> serviceUtils);
  ~ServiceChangeEvents() override;

  void startListening(ServiceEventCallback callback);
  // Once it returns the callback is not called again; a poll in progress
  // finishes its inventory without reporting it.
  void stopListening() override;

  // One poll: compare and report. Tests call it directly.
  void eventTimerCallback();
  [[nodiscard]] std::optional<ServiceChange> getServiceChange();
  [[nodiscard]] std::optional<ServiceInfoSet> loadCachedServices() const;
  void writeServiceInfoCache() const;

  [[nodiscard]] const std::optional<std::string>& cacheFileUrl() const { return cacheFileUrl_; }

 private:
  ServiceChangeEvents(const std::string& cachePath, std::chrono::nanoseconds interval,
                      std::shared_ptr<IServiceUtils> serviceUtils);
  void report(const ServiceInfo& info, uint32_t eventType);

  CallbackGate<ServiceEventCallback> serviceEventHandler;
  std::optional<std::string> cacheFileUrl_;
  std::chrono::nanoseconds interval;
  SerialQueue execQueue{"serviceChangeEventsQueue"};
  std::unique_ptr<RepeatingTimer> timer_;
  std::optional<ServiceInfoSet> cachedServices;
  std::shared_ptr<IServiceUtils> serviceUtils;
};

}  // namespace sondrel
