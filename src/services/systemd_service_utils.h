#pragma once
// The service inventory on Linux: the loaded service units of the system
// manager and of each logged-in user's manager, each with its program and user.
// Thread contract: getServices runs on the caller's (serial) queue and fans
// the per-user and per-unit queries out on a concurrent queue.

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "frame/command_runner.h"
#include "frame/dispatch.h"
#include "services/systemd_units.h"
#include "services/service_command_utils.h"
#include "services/service_utils.h"

namespace sondrel {

inline constexpr const char* kSystemctlPath = "/usr/bin/systemctl";

[[nodiscard]] std::vector<std::string> defaultSystemUnitDirs();
// A user's own unit folder, then the folders shared by every user manager.
[[nodiscard]] std::vector<std::string> defaultUserUnitDirs(const std::string& userName);

struct SystemdLocations {
  std::string systemctl = kSystemctlPath;
  std::vector<std::string> systemUnitDirs = defaultSystemUnitDirs();
  std::function<std::vector<std::string>(const std::string& userName)> userUnitDirs = defaultUserUnitDirs;
};

class SystemdServiceUtils final : public IServiceUtils {
 public:
  explicit SystemdServiceUtils(CommandRunnerFactory runnerFactory = defaultCommandRunnerFactory(),
                               SystemdLocations locations = SystemdLocations(),
                               std::chrono::nanoseconds timeout = kServiceQueryTimeout,
                               AccountLookup accounts = AccountLookup::system(),
                               DispatchQueue& execQueue = ConcurrentQueue::global());

  [[nodiscard]] std::optional<std::vector<ServiceInfo>> getServices() override;

 private:
  struct Listed {
    SystemdUnit unit;
    std::optional<std::string> userName;  // none for the system manager
  };
  std::optional<std::vector<Listed>> listUserUnits(const std::vector<std::string>& userNames);
  [[nodiscard]] std::vector<std::string> unitDirsFor(const std::optional<std::string>& userName) const;
  void reportUnavailable(const std::string& why);

  CommandRunnerFactory runnerFactory_;
  SystemdLocations locations_;
  std::chrono::nanoseconds timeout_;
  AccountLookup accounts_;
  DispatchQueue& execQueue_;
  SystemdUnitFileCache unitFiles_;
  bool unavailableLogged_ = false;
};

}  // namespace sondrel
