#include "perf/system_profiler.h"

#include <charconv>
#include <utility>

#include <simdjson.h>

#include "frame/logger.h"

namespace sondrel {

std::optional<uint64_t> parseMemorySize(std::string_view text) {
  uint64_t amount = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), amount);
  if (error != std::errc()) return std::nullopt;
  std::string_view unit(end, static_cast<size_t>(text.data() + text.size() - end));
  while (!unit.empty() && unit.front() == ' ') unit.remove_prefix(1);
  uint64_t scale = 0;
  if (unit == "MB") scale = uint64_t{1} << 20;
  if (unit == "GB") scale = uint64_t{1} << 30;
  if (scale == 0 || amount > UINT64_MAX / scale) return std::nullopt;
  return amount * scale;
}

std::optional<std::vector<DisplayAdapter>> parseDisplaysJson(std::string_view json) {
  simdjson::dom::parser parser;
  simdjson::dom::element root;
  if (parser.parse(json.data(), json.size()).get(root) != simdjson::SUCCESS) return std::nullopt;
  simdjson::dom::array adapters;
  if (root["SPDisplaysDataType"].get_array().get(adapters) != simdjson::SUCCESS) return std::nullopt;
  std::vector<DisplayAdapter> result;
  for (auto adapter : adapters) {
    DisplayAdapter entry;
    std::string_view text;
    if (adapter["sppci_model"].get_string().get(text) == simdjson::SUCCESS) entry.model = std::string(text);
    if (adapter["spdisplays_device-id"].get_string().get(text) == simdjson::SUCCESS) {
      if (text.starts_with("0x")) text.remove_prefix(2);
      uint32_t id = 0;
      if (std::from_chars(text.data(), text.data() + text.size(), id, 16).ec == std::errc()) entry.deviceId = id;
    }
    for (const char* key : {"spdisplays_vram", "spdisplays_vram_shared"}) {
      if (adapter[key].get_string().get(text) == simdjson::SUCCESS) {
        if (auto bytes = parseMemorySize(text)) entry.memoryBytes = *bytes;
        break;
      }
    }
    result.push_back(std::move(entry));
  }
  return result;
}

SystemProfiler::SystemProfiler(std::shared_ptr<ICommandRunner> commandRunner)
    : commandRunner_(std::move(commandRunner)) {}

std::optional<std::vector<DisplayAdapter>> SystemProfiler::tryGetDisplays() {
  if (ran_) return displays_;
  ran_ = true;
  if (!commandRunner_->runWithCommand(kSystemProfilerPath,
                                      std::vector<std::string>{"-json", "SPDisplaysDataType"})) {
    Logger::logError("Error: Could not run {}.", kSystemProfilerPath);
    return std::nullopt;
  }
  const auto output = commandRunner_->stdOut();
  displays_ = output ? parseDisplaysJson(*output) : std::nullopt;
  if (!displays_) Logger::logError("Error: Could not parse the display adapters of {}.", kSystemProfilerPath);
  return displays_;
}

}  // namespace sondrel
