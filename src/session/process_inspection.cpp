#include "session/process_inspection.h"

#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>

#include "frame/text_fields.h"

namespace sondrel {

std::optional<OSVersion> parseVersionTriple(std::string_view text) {
  uint32_t parts[3] = {0, 0, 0};
  const char* at = text.data();
  const char* end = text.data() + text.size();
  for (int i = 0; i < 3; ++i) {
    const auto result = std::from_chars(at, end, parts[i]);
    if (result.ec != std::errc()) {
      if (i == 0) return std::nullopt;
      break;
    }
    at = result.ptr;
    if (at == end || *at != '.') break;
    ++at;
  }
  return OSVersion{parts[0], parts[1], parts[2]};
}

std::optional<std::string> parseOsReleaseVersionId(std::string_view text) {
  while (!text.empty()) {
    std::string_view line = nextLine(text);
    if (!line.starts_with("VERSION_ID=")) continue;
    line.remove_prefix(11);
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.remove_suffix(1);
    if (line.size() >= 2 && (line.front() == '"' || line.front() == '\'') && line.back() == line.front()) {
      line = line.substr(1, line.size() - 2);
    }
    return std::string(line);
  }
  return std::nullopt;
}

std::string removingLastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  const size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return {};
  if (slash == 0) return "/";
  return std::string(path.substr(0, slash));
}

std::optional<std::string> findAppBundle(const std::string& path, const BundleExecutableLookup& lookup) {
  std::string candidate = path;
  while (!candidate.empty() && candidate != "/") {
    if (const auto executable = lookup(candidate); executable && *executable == path) return candidate;
    candidate = removingLastPathComponent(candidate);
  }
  return std::nullopt;
}

std::optional<std::string> which(std::string_view name, const std::optional<std::string>& searchPath,
                                 const std::function<bool(const std::string&)>& isExecutableFile) {
  if (!searchPath || name.empty()) return std::nullopt;
  std::string_view folders = *searchPath;
  while (!folders.empty()) {
    const size_t colon = folders.find(':');
    const std::string_view folder = folders.substr(0, colon);
    folders.remove_prefix(colon == std::string_view::npos ? folders.size() : colon + 1);
    if (folder.empty()) continue;
    std::string candidate(folder);
    if (candidate.back() != '/') candidate += '/';
    candidate += name;
    if (isExecutableFile(candidate)) return candidate;
  }
  return std::nullopt;
}

std::optional<std::string> which(std::string_view name) {
  const char* path = std::getenv("PATH");
  return which(name, path ? std::optional<std::string>(path) : std::nullopt, [](const std::string& candidate) {
    struct stat info {};
    return ::stat(candidate.c_str(), &info) == 0 && S_ISREG(info.st_mode) && ::access(candidate.c_str(), X_OK) == 0;
  });
}

}  // namespace sondrel
