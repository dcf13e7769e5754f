#include "services/process_owner.h"

#include <unistd.h>

#include <vector>

#include "services/service_content_parser.h"

namespace sondrel {

std::optional<uint32_t> parseStatusUid(std::string_view statusText) {
  for (auto line : splitNonEmpty(statusText, '\n')) {
    if (!line.starts_with("Uid:")) continue;
    line.remove_prefix(4);
    line = trimWhitespace(line);
    const auto end = line.find_first_of(" \t");
    return parseUint32(line.substr(0, end));
  }
  return std::nullopt;
}

}  // namespace sondrel
