#include "services/process_owner.h"

#include <pwd.h>
#include <unistd.h>

#include <vector>

#include "services/service_content_parser.h"

namespace sondrel {

std::optional<std::string> userNameForUid(uint32_t uid) {
  const long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(suggested > 0 ? static_cast<size_t>(suggested) : 16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(static_cast<uid_t>(uid), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr ||
      found->pw_name == nullptr) {
    return std::nullopt;
  }
  return std::string(found->pw_name);
}

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
