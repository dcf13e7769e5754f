#include "inspect/saved_output.h"

#include <cstdio>

namespace sondrel::tools {

std::optional<std::string> readSavedOutput(const std::vector<std::string>& arguments, const char* command,
                                           size_t maxBytes) {
  if (arguments.size() != 1) {
    std::fprintf(stderr, "usage: sondrel-inspect %s FILE\n", command);
    return std::nullopt;
  }
  auto bytes = readFileCapped(arguments[0], maxBytes);
  if (!bytes) std::fprintf(stderr, "sondrel-inspect: cannot read %s\n", arguments[0].c_str());
  return bytes;
}

int savedOutputFailureStatus(const std::vector<std::string>& arguments) { return arguments.size() == 1 ? 1 : 2; }

}  // namespace sondrel::tools
