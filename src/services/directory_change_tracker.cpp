#include "services/directory_change_tracker.h"

#include <utility>

#include "frame/file_utils.h"

namespace sondrel {

DirectoryChangeTracker::DirectoryChangeTracker(ModificationTime modificationTime)
    : modificationTime_(std::move(modificationTime)) {}

DirectoryChangeTracker::ModificationTime DirectoryChangeTracker::defaultModificationTime() {
  return [](const std::string& path) { return CommonUtils::getFileModificationTimestamp(path); };
}

std::vector<std::string> DirectoryChangeTracker::getUpdatedDirs(const std::vector<std::string>& dirs) {
  std::vector<std::string> updated;
  for (const auto& dir : dirs) {
    const auto time = modificationTime_(dir);
    if (!time) {
      updated.push_back(dir);
      continue;
    }
    const auto stored = serviceDirTimestamp.find(dir);
    if (stored != serviceDirTimestamp.end() && stored->second == *time) continue;
    serviceDirTimestamp[dir] = *time;
    updated.push_back(dir);
  }
  return updated;
}

}  // namespace sondrel
