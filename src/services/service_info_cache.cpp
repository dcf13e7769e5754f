#include "services/service_info_cache.h"

#include "frame/file_utils.h"
#include "frame/plist_cache.h"
#include "frame/users.h"

namespace sondrel {

namespace {
const std::vector<std::string> kJobKeys = {"Label", "ProgramArguments", "Program"};
const std::vector<std::string> kJobSuffixes = {".plist"};

const PlistValue* valueOf(const PlistDictionary& attributes, std::string_view key) {
  for (const auto& [name, value] : attributes) {
    if (name == key) return &value;
  }
  return nullptr;
}

// The first argument, when every argument is text and there is one.
std::optional<std::string> firstArgument(const PlistValue* arguments) {
  const PlistArray* items = arguments != nullptr ? arguments->asArray() : nullptr;
  if (items == nullptr || items->empty()) return std::nullopt;
  for (const auto& item : *items) {
    if (item.asString() == nullptr) return std::nullopt;
  }
  return *items->front().asString();
}
}  // namespace

std::optional<std::pair<std::string, std::string>> parseService(const std::string& path) {
  const auto attributes = CommonUtils::getPlistAttributes(kJobKeys, path);
  const PlistValue* label = valueOf(attributes, "Label");
  if (label == nullptr || label->asString() == nullptr) return std::nullopt;
  if (auto program = firstArgument(valueOf(attributes, "ProgramArguments"))) {
    return std::make_pair(*label->asString(), std::move(*program));
  }
  const PlistValue* program = valueOf(attributes, "Program");
  if (program == nullptr || program->asString() == nullptr) return std::nullopt;
  return std::make_pair(*label->asString(), *program->asString());
}

std::vector<std::string> defaultUserLaunchAgentDirs() {
  std::vector<std::string> dirs;
  for (const auto& account : CommonUtils::listUserAccounts()) {
    if (!account.home.empty()) dirs.push_back(account.home + "/Library/LaunchAgents");
  }
  return dirs;
}

ServiceInfoCache::ServiceInfoCache(std::vector<std::string> launchdDirs, DirsProvider userAgentDirs,
                                   DirectoryChangeTracker tracker)
    : launchdDirs_(std::move(launchdDirs)), userAgentDirs_(std::move(userAgentDirs)), tracker_(std::move(tracker)) {}

std::vector<std::string> ServiceInfoCache::getServiceDirs() const {
  auto dirs = launchdDirs_;
  if (userAgentDirs_) {
    for (auto& dir : userAgentDirs_()) dirs.push_back(std::move(dir));
  }
  return dirs;
}

void ServiceInfoCache::forget(const std::string& dir) {
  for (auto entry = serviceFilesDict.begin(); entry != serviceFilesDict.end();) {
    auto& files = entry->second;
    std::erase_if(files, [&](const std::string& file) { return file.starts_with(dir); });
    entry = files.empty() ? serviceFilesDict.erase(entry) : std::next(entry);
  }
  std::erase_if(fileProgramDict, [&](const auto& entry) { return entry.first.starts_with(dir); });
}

void ServiceInfoCache::updateServiceCache() {
  const auto changed = tracker_.getUpdatedDirs(getServiceDirs());
  if (changed.empty()) return;
  for (const auto& dir : changed) forget(dir);
  for (const auto& file : CommonUtils::getFiles(kJobSuffixes, changed)) {
    auto parsed = parseService(file);
    if (!parsed) continue;
    fileProgramDict[file] = std::move(parsed->second);
    serviceFilesDict[parsed->first].insert(file);
  }
}

std::optional<std::string> ServiceInfoCache::getServiceProgram(const std::string& service) {
  const auto files = serviceFilesDict.find(service);
  if (files == serviceFilesDict.end() || files->second.empty()) return std::nullopt;
  const auto program = fileProgramDict.find(*files->second.begin());
  if (program == fileProgramDict.end()) return std::nullopt;
  return program->second;
}

}  // namespace sondrel
