#pragma once
// One process: its ids, path, arguments and ancestors, as the kernel's
// process table has them. Not shared between threads.

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "session/process_table.h"

namespace sondrel {

class Process {
 public:
  // Every id unset, no path, arguments or ancestors, stamped now.
  Process();

  // The live process pid, completed from the table; nothing when its path
  // can't be read (it has exited, or it is not ours to see).
  [[nodiscard]] static std::optional<Process> fromPid(uint32_t pid, const IProcessTable& table = systemProcessTable());

  // The parent of pid, or kUnsetId.
  [[nodiscard]] static uint32_t getParentID(uint32_t pid, const IProcessTable& table = systemProcessTable());

  // Reads the executable path of pid; leaves path as it was when that fails.
  void pathFromPid(const IProcessTable& table = systemProcessTable());
  void getArgs(const IProcessTable& table = systemProcessTable());
  void getUser(const IProcessTable& table = systemProcessTable());
  // pid, then its parent, grandparent... ending before pid 0, an unset id or a
  // process that is its own parent.
  void enumerateAncestors(const IProcessTable& table = systemProcessTable());
  // False only when no process has this pid (a process of another user is alive).
  [[nodiscard]] bool isProcessAlive() const;

  [[nodiscard]] std::string description() const;

  uint16_t type = 0;  // the BSM event type of the record it came from; 0 otherwise
  uint32_t pid = kUnsetId;
  uint32_t exit = kUnsetId;
  uint32_t ppid = kUnsetId;
  uint32_t uid = kUnsetId;
  uint32_t ruid = kUnsetId;
  uint32_t sid = kUnsetId;
  std::string path;
  std::vector<uint32_t> ancestors;
  std::vector<std::string> arguments;
  std::chrono::system_clock::time_point timestamp;
  std::map<std::string, std::string> signingInfo;  // filled by nobody here
};

}  // namespace sondrel
