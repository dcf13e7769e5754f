#include "agent/agent_options.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "agent/families.h"

namespace sondrel::tools {

namespace {

constexpr size_t kUsageWidth = 100;

std::optional<uint64_t> parseUnsigned(const std::string& text) {
  if (text.empty() || !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) {
    return std::nullopt;
  }
  if (text.size() > 10) return std::nullopt;
  return std::stoull(text);
}

// "Families: user, process, …, netL2 (default: all)." wrapped to kUsageWidth.
std::string familiesParagraph() {
  std::string text = "Families:";
  size_t lineStart = 0;
  const auto& names = allFamilies();
  for (size_t i = 0; i < names.size(); ++i) {
    const std::string word = names[i] + (i + 1 < names.size() ? "," : " (default: all).");
    if (text.size() - lineStart + 1 + word.size() > kUsageWidth) {
      text += '\n';
      lineStart = text.size();
    } else {
      text += ' ';
    }
    text += word;
  }
  return text + '\n';
}

}  // namespace

std::string defaultCacheDir() {
  if (const char* xdg = std::getenv("XDG_CACHE_HOME"); xdg != nullptr && xdg[0] == '/') {
    return std::string(xdg) + "/sondrel";
  }
  if (const char* home = std::getenv("HOME"); home != nullptr && home[0] != '\0') {
    return std::string(home) + "/.cache/sondrel";
  }
  return "/tmp/sondrel-cache";
}

const char* agentUsage() {
  static const std::string usage =
      "usage: sondrel-agent [--families LIST] [--interval SECONDS] [--cache-dir DIR]\n"
      "                     [--duration SECONDS] [--log-level 0-5] [--library PATH]\n" +
      familiesParagraph() +
      "Writes one JSON object per record to standard output and log lines to standard error;\n"
      "SIGINT or SIGTERM unregisters everything and exits 0.\n";
  return usage.c_str();
}

std::optional<AgentOptions> parseAgentOptions(const std::vector<std::string>& arguments, std::string* error) {
  AgentOptions options;
  options.cacheDir = defaultCacheDir();
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& flag = arguments[i];
    if (flag == "--help" || flag == "-h") {
      options.help = true;
      continue;
    }
    if (i + 1 >= arguments.size()) {
      *error = flag.starts_with("--") ? flag + " needs a value" : "unknown argument " + flag;
      return std::nullopt;
    }
    const std::string& value = arguments[++i];
    if (flag == "--families") {
      std::stringstream list(value);
      std::string name;
      while (std::getline(list, name, ',')) {
        if (name.empty()) continue;
        const auto& known = allFamilies();
        if (std::find(known.begin(), known.end(), name) == known.end()) {
          *error = "unknown family " + name;
          return std::nullopt;
        }
        options.families.insert(name);
      }
    } else if (flag == "--interval") {
      auto seconds = parseUnsigned(value);
      if (!seconds || *seconds == 0 || *seconds > UINT32_MAX) {
        *error = "--interval takes a whole number of seconds above 0";
        return std::nullopt;
      }
      options.interval = static_cast<uint32_t>(*seconds);
    } else if (flag == "--cache-dir") {
      options.cacheDir = value;
    } else if (flag == "--duration") {
      char* end = nullptr;
      const double seconds = std::strtod(value.c_str(), &end);
      if (end == value.c_str() || *end != '\0' || !(seconds > 0)) {
        *error = "--duration takes a number of seconds above 0";
        return std::nullopt;
      }
      options.durationSeconds = seconds;
    } else if (flag == "--log-level") {
      auto level = parseUnsigned(value);
      if (!level || *level > 5) {
        *error = "--log-level takes 0 (verbose) to 5 (critical)";
        return std::nullopt;
      }
      options.logLevel = static_cast<uint32_t>(*level);
    } else if (flag == "--library") {
      options.library = value;
    } else {
      *error = "unknown option " + flag;
      return std::nullopt;
    }
  }
  if (options.families.empty()) options.families.insert(allFamilies().begin(), allFamilies().end());
  return options;
}

}  // namespace sondrel::tools
