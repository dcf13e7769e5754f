#pragma once
// Parsers of the /proc/<pid> files that stand in for macOS's process records.
// Pure functions over the files' text, tested on captured contents.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sondrel::linux_proc {

struct StatFields {
  uint32_t ppid = 0;
  uint32_t session = 0;
};

// /proc/<pid>/stat. The command name sits in parentheses and may itself
// contain spaces and parentheses, so fields are counted after the last ')'.
[[nodiscard]] std::optional<StatFields> parseStat(std::string_view text);

struct StatusIds {
  uint32_t realUid = 0;
  uint32_t effectiveUid = 0;
};

// The "Uid:" line of /proc/<pid>/status: real, effective, saved, file system.
[[nodiscard]] std::optional<StatusIds> parseStatusUids(std::string_view text);

// /proc/<pid>/cmdline: arguments separated and ended by NUL; empty arguments kept.
[[nodiscard]] std::vector<std::string> splitCmdline(std::string_view text);

}  // namespace sondrel::linux_proc
