#pragma once
// Remembers the modification time of folders so that a poll re-reads only the
// folders whose content changed since the last one.
// Thread contract: owned by one caller at a time.

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sondrel {

class DirectoryChangeTracker {
 public:
  using ModificationTime = std::function<std::optional<double>(const std::string& path)>;
  explicit DirectoryChangeTracker(ModificationTime modificationTime = defaultModificationTime());

  // The folders, in the given order, whose time differs from the stored one.
  // A folder whose time can't be read counts as changed on every call (its
  // content may have gone), and its stored time stays as it was.
  [[nodiscard]] std::vector<std::string> getUpdatedDirs(const std::vector<std::string>& dirs);

  [[nodiscard]] static ModificationTime defaultModificationTime();

 private:
  ModificationTime modificationTime_;
  std::map<std::string, double> serviceDirTimestamp;
};

}  // namespace sondrel
