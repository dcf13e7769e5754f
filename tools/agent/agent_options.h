#pragma once
// The agent's command line.

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace sondrel::tools {

struct AgentOptions {
  std::set<std::string> families;
  std::optional<uint32_t> interval;  // one interval for every periodic family
  std::string cacheDir;
  std::optional<double> durationSeconds;
  uint32_t logLevel = 1;  // lines below it are not shown
  std::string library;
  bool help = false;
};

// Parses arguments (without the program name); error receives why it failed.
std::optional<AgentOptions> parseAgentOptions(const std::vector<std::string>& arguments, std::string* error);

// $XDG_CACHE_HOME/sondrel, else ~/.cache/sondrel.
std::string defaultCacheDir();

const char* agentUsage();

}  // namespace sondrel::tools
