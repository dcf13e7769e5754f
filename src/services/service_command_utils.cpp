#include "services/service_command_utils.h"

#include <cstdio>
#include <utility>

namespace sondrel {

CommandRunnerFactory defaultCommandRunnerFactory() {
  return [] { return std::make_unique<CommandRunner>(); };
}

std::string decodeUtf8Lossy(std::string_view bytes) {
  static constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  std::string text;
  text.reserve(bytes.size());
  size_t i = 0;
  while (i < bytes.size()) {
    const auto lead = static_cast<unsigned char>(bytes[i]);
    size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead < 0x80) {
      length = 1;
    } else if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3;
      if (lead == 0xE0) low = 0xA0;
      if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4;
      if (lead == 0xF0) low = 0x90;
      if (lead == 0xF4) high = 0x8F;
    }
    if (length == 0) {
      text += kReplacement;
      ++i;
      continue;
    }
    // A sequence cut short is replaced as one unit, and decoding resumes at
    // the byte that broke it.
    size_t valid = 1;
    for (; valid < length && i + valid < bytes.size(); ++valid) {
      const auto next = static_cast<unsigned char>(bytes[i + valid]);
      const unsigned char min = valid == 1 ? low : 0x80;
      const unsigned char max = valid == 1 ? high : 0xBF;
      if (next < min || next > max) break;
    }
    if (valid == length) {
      text.append(bytes.substr(i, length));
    } else {
      text += kReplacement;
    }
    i += valid;
  }
  return text;
}

std::optional<std::string> runToolForOutput(const CommandRunnerFactory& runnerFactory, const std::string& command,
                                            const std::vector<std::string>& args) {
  auto runner = runnerFactory();
  if (!runner || !runner->runWithCommand(command, args)) return std::nullopt;
  auto output = runner->stdOut();
  if (!output || output->empty()) {
    std::puts("Failed to list the services.");
    std::fflush(stdout);
    return std::nullopt;
  }
  return decodeUtf8Lossy(*output);
}

ServiceCommandUtils::ServiceCommandUtils(CommandRunnerFactory runnerFactory, std::string dscl, std::string launchctl)
    : runnerFactory_(std::move(runnerFactory)), dscl(std::move(dscl)), launchctl(std::move(launchctl)) {}

std::optional<std::string> ServiceCommandUtils::runCommand(const std::string& command,
                                                           const std::vector<std::string>& args) {
  return runToolForOutput(runnerFactory_, command, args);
}

std::optional<std::string> ServiceCommandUtils::fetchUidListOutput() {
  return runCommand(dscl, {".", "-list", "/Users", "UniqueID"});
}

std::optional<std::string> ServiceCommandUtils::fetchServicesListOutputFor(uint32_t uid) {
  return runCommand(launchctl, {"asuser", std::to_string(uid), launchctl, "list"});
}

std::optional<std::string> ServiceCommandUtils::fetchSystemServicesListOutput() { return runCommand(launchctl, {"list"}); }

std::optional<std::string> ServiceCommandUtils::fetchServiceInfoOutputFor(const std::string& service, uint32_t uid) {
  return runCommand(launchctl, {"asuser", std::to_string(uid), launchctl, "list", service});
}

std::optional<std::string> ServiceCommandUtils::fetchSystemServiceInfoOutputFor(const std::string& service) {
  return runCommand(launchctl, {"list", service});
}

}  // namespace sondrel
