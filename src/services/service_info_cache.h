#pragma once
// Label-to-program knowledge from launchd property lists, kept for the life of
// the source and refreshed folder by folder: a folder is read again only when
// its modification time changed, so a quiet machine costs a few stat calls.
// Thread contract: used from the inventory's calling thread only.

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "services/directory_change_tracker.h"
#include "services/launchd_paths.h"

namespace sondrel {

class IServiceInfoCache {
 public:
  virtual ~IServiceInfoCache() = default;
  virtual void updateServiceCache() = 0;
  [[nodiscard]] virtual std::optional<std::string> getServiceProgram(const std::string& service) = 0;
};

// The label and program a launchd job file declares: "Label", then the first
// element of a non-empty "ProgramArguments", else "Program". Nothing when
// either is missing or of the wrong type.
[[nodiscard]] std::optional<std::pair<std::string, std::string>> parseService(const std::string& path);

// Each local user's "Library/LaunchAgents", for users whose home is known.
[[nodiscard]] std::vector<std::string> defaultUserLaunchAgentDirs();

class ServiceInfoCache final : public IServiceInfoCache {
 public:
  using DirsProvider = std::function<std::vector<std::string>()>;

  explicit ServiceInfoCache(std::vector<std::string> launchdDirs = defaultLaunchdDirs(),
                            DirsProvider userAgentDirs = defaultUserLaunchAgentDirs,
                            DirectoryChangeTracker tracker = DirectoryChangeTracker());

  void updateServiceCache() override;
  [[nodiscard]] std::optional<std::string> getServiceProgram(const std::string& service) override;

  // The folders scanned: the fixed ones, then the users' own.
  [[nodiscard]] std::vector<std::string> getServiceDirs() const;

 private:
  void forget(const std::string& dir);

  std::vector<std::string> launchdDirs_;
  DirsProvider userAgentDirs_;
  DirectoryChangeTracker tracker_;
  std::unordered_map<std::string, std::string> fileProgramDict;
  std::map<std::string, std::set<std::string>> serviceFilesDict;
};

}  // namespace sondrel
