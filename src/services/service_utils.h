#pragma once
// The launchd service inventory: the services loaded right now, per user and
// for the system domain, each with its program and user.
// Thread contract: getServices runs on the caller's (serial) queue and fans
// the tool queries out on a concurrent queue; late queries after a timeout
// only touch state they share ownership of.

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "frame/dispatch.h"
#include "services/service_command_utils.h"
#include "services/service_content_parser.h"
#include "services/service_info.h"
#include "services/service_info_cache.h"

namespace sondrel {

class IServiceUtils {
 public:
  virtual ~IServiceUtils() = default;
  // Nothing when the inventory could not be had as a whole.
  [[nodiscard]] virtual std::optional<std::vector<ServiceInfo>> getServices() = 0;
};

inline constexpr std::chrono::milliseconds kServiceQueryTimeout{30000};

// How user ids and process ids become account names; the defaults ask the
// password database and the kernel.
struct AccountLookup {
  std::function<std::optional<std::string>(uint32_t uid)> userNameForUid;
  std::function<std::optional<uint32_t>(int32_t pid)> uidOfProcess;
  [[nodiscard]] static AccountLookup system();

  // The login name a running process runs as; nothing when the process or
  // its user id can't be looked up.
  [[nodiscard]] std::optional<std::string> userOfProcess(int32_t pid) const;
};

// Drops the per-instance suffixes the system appends to some labels, so one
// service keeps one name across restarts.
[[nodiscard]] std::string trimServiceName(const std::string& label);
void trimServiceNameForRawDataArray(std::vector<ServiceRawData>& records);

// Label to record; a later record replaces an earlier one of the same label,
// so the system domain (listed last) wins.
[[nodiscard]] std::map<std::string, ServiceRawData> buildRawDataMap(const std::vector<ServiceRawData>& records);

class ServiceUtils final : public IServiceUtils {
 public:
  ServiceUtils(std::shared_ptr<IServiceInfoCache> serviceCache, std::shared_ptr<IServiceCommandUtils> commandUtils,
               std::chrono::nanoseconds timeout = kServiceQueryTimeout, AccountLookup accounts = AccountLookup::system(),
               DispatchQueue& execQueue = ConcurrentQueue::global());

  [[nodiscard]] std::optional<std::vector<ServiceInfo>> getServices() override;

 private:
  std::optional<std::vector<ServiceRawData>> getUserServiceRawDataArray();
  std::vector<ServiceRawData> getSystemServiceRawDataArray();
  std::optional<std::map<std::string, std::string>> buildServiceProgramMap(
      const std::map<std::string, ServiceRawData>& records);
  [[nodiscard]] std::optional<std::string> userOf(const ServiceRawData& record) const;

  std::shared_ptr<IServiceInfoCache> serviceInfoCache;
  std::shared_ptr<IServiceCommandUtils> commandUtils;
  ServiceContentParser contentParser;
  std::chrono::nanoseconds timeout;
  AccountLookup accounts_;
  DispatchQueue& execQueue;
};

}  // namespace sondrel
