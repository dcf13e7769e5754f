#include "services/systemd_service_utils.h"

#include <unistd.h>

#include <map>

#include "frame/logger.h"
#include "frame/users.h"
#include "services/fan_out.h"

namespace sondrel {

namespace {

// A function, not a global: a query still running after a timeout may outlive
// the globals at exit.
std::vector<std::string> listUnitsArgs() {
  return {"list-units", "--type=service", "--all", "--plain", "--no-legend", "--no-pager"};
}

// A user manager is reached through the machine's user@ transport.
std::vector<std::string> userScope(const std::string& userName) { return {"--user", "--machine=" + userName + "@"}; }

// systemctl's standard output, or nothing when it can't run or fails; an
// empty list is a valid answer here, unlike with the launchd tools.
std::optional<std::string> runSystemctl(const CommandRunnerFactory& factory, const std::string& systemctl,
                                        const std::vector<std::string>& args) {
  auto runner = factory();
  if (!runner || !runner->runWithCommand(systemctl, args) || runner->exitCode().value_or(-1) != 0) {
    return std::nullopt;
  }
  return decodeUtf8Lossy(runner->stdOut().value_or(""));
}

struct UnitDetails {
  std::optional<std::string> program;
  std::optional<int32_t> mainPid;
};

}  // namespace

std::vector<std::string> defaultSystemUnitDirs() {
  return {"/etc/systemd/system", "/run/systemd/system", "/usr/lib/systemd/system", "/lib/systemd/system"};
}

std::vector<std::string> defaultUserUnitDirs(const std::string& userName) {
  std::vector<std::string> dirs;
  if (auto home = CommonUtils::homeDirectoryForUser(userName)) dirs.push_back(*home + "/.config/systemd/user");
  for (const char* shared : {"/etc/systemd/user", "/usr/lib/systemd/user", "/lib/systemd/user"}) dirs.emplace_back(shared);
  return dirs;
}

SystemdServiceUtils::SystemdServiceUtils(CommandRunnerFactory runnerFactory, SystemdLocations locations,
                                         std::chrono::nanoseconds timeout, AccountLookup accounts,
                                         DispatchQueue& execQueue)
    : runnerFactory_(std::move(runnerFactory)),
      locations_(std::move(locations)),
      timeout_(timeout),
      accounts_(std::move(accounts)),
      execQueue_(execQueue) {}

void SystemdServiceUtils::reportUnavailable(const std::string& why) {
  if (unavailableLogged_) return;
  unavailableLogged_ = true;
  Logger::logInfo("Services are not reported: {}", why);
}

std::vector<std::string> SystemdServiceUtils::unitDirsFor(const std::optional<std::string>& userName) const {
  if (!userName) return locations_.systemUnitDirs;
  return locations_.userUnitDirs ? locations_.userUnitDirs(*userName) : std::vector<std::string>{};
}

std::optional<std::vector<SystemdServiceUtils::Listed>> SystemdServiceUtils::listUserUnits(
    const std::vector<std::string>& userNames) {
  FanOut perUser(execQueue_, std::vector<std::vector<SystemdUnit>>(userNames.size()));
  for (size_t index = 0; index < userNames.size(); ++index) {
    perUser.async([index, name = userNames[index], factory = runnerFactory_,
                   systemctl = locations_.systemctl](const auto& publish) {
      auto args = listUnitsArgs();
      for (auto& arg : userScope(name)) args.push_back(std::move(arg));
      const auto output = runSystemctl(factory, systemctl, args);
      if (!output) {
        Logger::logDebug("Failed to list services for user {}.", name);
        return;
      }
      auto units = parseSystemdUnitList(*output);
      publish([&](auto& slots) { slots[index] = std::move(units); });
    });
  }
  auto units = perUser.waitFor(timeout_);
  if (!units) {
    Logger::logDebug("Failed to list the services because of timeout.");
    return std::nullopt;
  }
  std::vector<Listed> listed;
  for (size_t index = 0; index < userNames.size(); ++index) {
    for (auto& unit : (*units)[index]) listed.push_back({std::move(unit), userNames[index]});
  }
  return listed;
}

std::optional<std::vector<ServiceInfo>> SystemdServiceUtils::getServices() {
  if (::access(locations_.systemctl.c_str(), X_OK) != 0) {
    reportUnavailable(locations_.systemctl + " is not there, so this machine has no systemd to ask.");
    return std::nullopt;
  }
  const auto systemList = runSystemctl(runnerFactory_, locations_.systemctl, listUnitsArgs());
  if (!systemList) {
    reportUnavailable(locations_.systemctl + " list-units failed; systemd does not run this machine.");
    return std::nullopt;
  }
  unavailableLogged_ = false;

  std::vector<Listed> listed;
  std::vector<std::string> userNames;
  for (auto& unit : parseSystemdUnitList(*systemList)) {
    if (unit.load != "loaded") continue;
    if (auto uid = userManagerUid(unit.name); uid && unit.active == "active") {
      if (auto name = accounts_.userNameForUid(*uid)) userNames.push_back(std::move(*name));
    }
    listed.push_back({std::move(unit), std::nullopt});
  }
  auto userUnits = listUserUnits(userNames);
  if (!userUnits) return std::nullopt;
  for (auto& entry : *userUnits) {
    if (entry.unit.load == "loaded") listed.push_back(std::move(entry));
  }

  // Each user's folders cost a password-database lookup: once per poll.
  std::map<std::string, std::vector<std::string>> userDirs;
  std::vector<std::string> allDirs = locations_.systemUnitDirs;
  for (const auto& name : userNames) {
    const auto& dirs = userDirs[name] = unitDirsFor(name);
    allDirs.insert(allDirs.end(), dirs.begin(), dirs.end());
  }
  unitFiles_.update(allDirs);

  // What the unit files can't tell (no file, or the main process of a
  // running system unit) is asked of systemctl, one unit per task.
  FanOut<std::map<size_t, UnitDetails>> perUnit(execQueue_);
  for (size_t index = 0; index < listed.size(); ++index) {
    const auto& entry = listed[index];
    const auto& dirs = entry.userName ? userDirs[*entry.userName] : locations_.systemUnitDirs;
    UnitDetails known{unitFiles_.programOf(entry.unit.name, dirs), std::nullopt};
    const bool askPid = !entry.userName && entry.unit.active == "active";
    if (known.program && !askPid) {
      perUnit.publish([&](auto& details) { details.emplace(index, std::move(known)); });
      continue;
    }
    std::vector<std::string> scope = entry.userName ? userScope(*entry.userName) : std::vector<std::string>{};
    perUnit.async([index, known = std::move(known), askPid, scope = std::move(scope), unit = entry.unit.name,
                   factory = runnerFactory_, systemctl = locations_.systemctl](const auto& publish) mutable {
      auto withScope = [&](std::vector<std::string> args) {
        args.insert(args.end(), scope.begin(), scope.end());
        return args;
      };
      if (!known.program) {
        if (auto shown = runSystemctl(factory, systemctl, withScope({"show", "-p", "ExecStart", "--value", unit}))) {
          known.program = parseShownExecStart(*shown);
        }
        if (!known.program) Logger::logDebug("Failed to get program for service {}", unit);
      }
      if (askPid) {
        if (auto shown = runSystemctl(factory, systemctl, {"show", "-p", "MainPID", unit})) {
          known.mainPid = parseShownMainPid(*shown);
        }
      }
      publish([&](auto& details) { details.emplace(index, std::move(known)); });
    });
  }
  const auto allDetails = perUnit.waitFor(timeout_);
  if (!allDetails) {
    Logger::logDebug("Failed to get programs because of timeout.");
    return std::nullopt;
  }

  std::vector<ServiceInfo> services;
  for (const auto& [index, details] : *allDetails) {
    if (!details.program) continue;
    const auto& entry = listed[index];
    std::string user = "root";
    if (entry.userName) {
      user = *entry.userName;
    } else if (details.mainPid) {
      if (auto name = accounts_.userOfProcess(*details.mainPid)) user = std::move(*name);
    }
    services.push_back({entry.unit.name, *details.program, std::move(user)});
  }
  return services;
}

}  // namespace sondrel
