#pragma once
// What systemd's tools and unit files say about services, as pure parsers of
// their text, and the unit-file program cache.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "services/directory_change_tracker.h"

namespace sondrel {

struct SystemdUnit {
  std::string name;
  std::string load;
  std::string active;
  std::string sub;
};

// The rows of "list-units --plain --no-legend": unit, load, active, sub, description.
[[nodiscard]] std::vector<SystemdUnit> parseSystemdUnitList(std::string_view text);

// The uid of a per-user manager unit ("user@1000.service"), else nothing.
[[nodiscard]] std::optional<uint32_t> userManagerUid(std::string_view unitName);

// The executable of the first non-empty ExecStart= of a unit file's [Service]
// section, with the @-:+! prefixes dropped and quotes removed.
[[nodiscard]] std::optional<std::string> parseExecStartProgram(std::string_view unitFile);

// The "path=" of "systemctl show -p ExecStart --value" output.
[[nodiscard]] std::optional<std::string> parseShownExecStart(std::string_view text);

// The pid of "systemctl show -p MainPID" output ("MainPID=123"); none for 0.
[[nodiscard]] std::optional<int32_t> parseShownMainPid(std::string_view text);

// The programs of the unit files in a set of folders, re-read per folder only
// when the folder's modification time changed.
// Thread contract: one caller at a time.
class SystemdUnitFileCache {
 public:
  explicit SystemdUnitFileCache(DirectoryChangeTracker tracker = DirectoryChangeTracker());

  void update(const std::vector<std::string>& dirs);
  // The program of unit from the first folder (in the given order) that has
  // its file; an instance "name@x.service" falls back to its template "name@.service".
  [[nodiscard]] std::optional<std::string> programOf(const std::string& unit, const std::vector<std::string>& dirs) const;

 private:
  DirectoryChangeTracker tracker_;
  std::map<std::string, std::map<std::string, std::string>> programsByDir_;
};

}  // namespace sondrel
