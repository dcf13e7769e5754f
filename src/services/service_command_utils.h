#pragma once
// Runs the directory and launchd tools whose text output the service
// inventory reads. Each query gets a runner of its own, so queries may run in
// parallel. Thread contract: stateless after construction; any thread.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "frame/command_runner.h"

namespace sondrel {

inline constexpr const char* kDsclPath = "/usr/bin/dscl";
inline constexpr const char* kLaunchctlPath = "/bin/launchctl";

class IServiceCommandUtils {
 public:
  virtual ~IServiceCommandUtils() = default;
  virtual std::optional<std::string> fetchUidListOutput() = 0;
  virtual std::optional<std::string> fetchServicesListOutputFor(uint32_t uid) = 0;
  virtual std::optional<std::string> fetchSystemServicesListOutput() = 0;
  virtual std::optional<std::string> fetchServiceInfoOutputFor(const std::string& service, uint32_t uid) = 0;
  virtual std::optional<std::string> fetchSystemServiceInfoOutputFor(const std::string& service) = 0;
};

// The default factory: a real CommandRunner per query.
[[nodiscard]] CommandRunnerFactory defaultCommandRunnerFactory();

class ServiceCommandUtils final : public IServiceCommandUtils {
 public:
  explicit ServiceCommandUtils(CommandRunnerFactory runnerFactory = defaultCommandRunnerFactory(),
                               std::string dscl = kDsclPath, std::string launchctl = kLaunchctlPath);

  std::optional<std::string> fetchUidListOutput() override;
  std::optional<std::string> fetchServicesListOutputFor(uint32_t uid) override;
  std::optional<std::string> fetchSystemServicesListOutput() override;
  std::optional<std::string> fetchServiceInfoOutputFor(const std::string& service, uint32_t uid) override;
  std::optional<std::string> fetchSystemServiceInfoOutputFor(const std::string& service) override;

 private:
  std::optional<std::string> runCommand(const std::string& command, const std::vector<std::string>& args);

  CommandRunnerFactory runnerFactory_;
  std::string dscl;
  std::string launchctl;
};

// Runs one tool through a fresh runner: its standard output as text (invalid
// UTF-8 replaced), or nothing when it could not run or wrote nothing. The
// "nothing written" case is announced on standard output, not in the log.
[[nodiscard]] std::optional<std::string> runToolForOutput(const CommandRunnerFactory& runnerFactory,
                                                          const std::string& command,
                                                          const std::vector<std::string>& args);

// Bytes as UTF-8 text, each invalid sequence replaced by U+FFFD.
[[nodiscard]] std::string decodeUtf8Lossy(std::string_view bytes);

}  // namespace sondrel
