#include "services/systemd_units.h"

#include "frame/file_utils.h"
#include "services/service_content_parser.h"

namespace sondrel {

namespace {

std::vector<std::string_view> splitWords(std::string_view text) {
  std::vector<std::string_view> words;
  size_t start = 0;
  while (start < text.size()) {
    start = text.find_first_not_of(" \t", start);
    if (start == std::string_view::npos) break;
    auto end = text.find_first_of(" \t", start);
    if (end == std::string_view::npos) end = text.size();
    words.push_back(text.substr(start, end - start));
    start = end;
  }
  return words;
}

// Unit files are a few kilobytes; anything past this is not a unit file.
constexpr size_t kMaxUnitFileBytes = 1024 * 1024;

}  // namespace

std::vector<SystemdUnit> parseSystemdUnitList(std::string_view text) {
  std::vector<SystemdUnit> units;
  for (auto line : splitNonEmpty(text, '\n')) {
    auto words = splitWords(line);
    // Failed units may carry a status mark before their name.
    if (!words.empty() && (words.front() == "\xE2\x97\x8F" || words.front() == "*")) words.erase(words.begin());
    if (words.size() < 4 || !words[0].ends_with(".service")) continue;
    units.push_back({std::string(words[0]), std::string(words[1]), std::string(words[2]), std::string(words[3])});
  }
  return units;
}

std::optional<uint32_t> userManagerUid(std::string_view unitName) {
  constexpr std::string_view prefix = "user@";
  constexpr std::string_view suffix = ".service";
  if (!unitName.starts_with(prefix) || !unitName.ends_with(suffix)) return std::nullopt;
  return parseUint32(unitName.substr(prefix.size(), unitName.size() - prefix.size() - suffix.size()));
}

std::optional<std::string> parseExecStartProgram(std::string_view unitFile) {
  bool inService = false;
  for (auto rawLine : splitNonEmpty(unitFile, '\n')) {
    const auto line = trimWhitespace(rawLine);
    if (line.empty() || line.front() == '#' || line.front() == ';') continue;
    if (line.front() == '[') {
      inService = line == "[Service]";
      continue;
    }
    if (!inService || !line.starts_with("ExecStart")) continue;
    auto rest = trimWhitespace(line.substr(9));
    if (rest.empty() || rest.front() != '=') continue;
    auto value = trimWhitespace(rest.substr(1));
    const auto firstNonPrefix = value.find_first_not_of("@-:+!");
    if (firstNonPrefix == std::string_view::npos) continue;
    value = trimWhitespace(value.substr(firstNonPrefix));
    std::string_view program;
    if (!value.empty() && (value.front() == '"' || value.front() == '\'')) {
      const auto close = value.find(value.front(), 1);
      program = value.substr(1, close == std::string_view::npos ? std::string_view::npos : close - 1);
    } else {
      program = value.substr(0, value.find_first_of(" \t"));
    }
    if (!program.empty()) return std::string(program);
  }
  return std::nullopt;
}

std::optional<std::string> parseShownExecStart(std::string_view text) {
  constexpr std::string_view key = "path=";
  const auto found = text.find(key);
  if (found == std::string_view::npos) return std::nullopt;
  auto value = text.substr(found + key.size());
  value = value.substr(0, value.find_first_of(" ;\t\n"));
  if (value.empty()) return std::nullopt;
  return std::string(value);
}

std::optional<int32_t> parseShownMainPid(std::string_view text) {
  auto value = trimWhitespace(text);
  if (value.starts_with("MainPID=")) value.remove_prefix(8);
  const auto pid = parseInt32(trimWhitespace(value));
  if (!pid || *pid <= 0) return std::nullopt;
  return pid;
}

SystemdUnitFileCache::SystemdUnitFileCache(DirectoryChangeTracker tracker) : tracker_(std::move(tracker)) {}

void SystemdUnitFileCache::update(const std::vector<std::string>& dirs) {
  for (const auto& dir : tracker_.getUpdatedDirs(dirs)) {
    auto& programs = programsByDir_[dir];
    programs.clear();
    for (const auto& file : CommonUtils::getFiles({".service"}, {dir})) {
      const auto text = readFileCapped(file, kMaxUnitFileBytes);
      if (!text) continue;
      if (auto program = parseExecStartProgram(*text)) programs.emplace(lastPathComponent(file), std::move(*program));
    }
  }
}

std::optional<std::string> SystemdUnitFileCache::programOf(const std::string& unit,
                                                           const std::vector<std::string>& dirs) const {
  std::vector<std::string> names = {unit};
  const auto at = unit.find('@');
  if (at != std::string::npos) names.push_back(unit.substr(0, at + 1) + ".service");
  for (const auto& name : names) {
    for (const auto& dir : dirs) {
      const auto programs = programsByDir_.find(dir);
      if (programs == programsByDir_.end()) continue;
      const auto program = programs->second.find(name);
      if (program != programs->second.end()) return program->second;
    }
  }
  return std::nullopt;
}

}  // namespace sondrel
