#include "session/process.h"

#include <signal.h>

#include <cerrno>

#include <fmt/format.h>

namespace sondrel {

Process::Process() : timestamp(std::chrono::system_clock::now()) {}

std::optional<Process> Process::fromPid(uint32_t pid, const IProcessTable& table) {
  Process process;
  process.pid = pid;
  process.ppid = getParentID(pid, table);
  process.pathFromPid(table);
  if (process.path.empty()) return std::nullopt;
  process.getArgs(table);
  process.getUser(table);
  process.enumerateAncestors(table);
  return process;
}

uint32_t Process::getParentID(uint32_t pid, const IProcessTable& table) {
  return table.parentOf(pid).value_or(kUnsetId);
}

void Process::pathFromPid(const IProcessTable& table) {
  if (auto found = table.executablePath(pid); found && !found->empty()) path = std::move(*found);
}

void Process::getArgs(const IProcessTable& table) {
  if (auto found = table.arguments(pid)) {
    for (auto& argument : *found) arguments.push_back(std::move(argument));
  }
}

void Process::getUser(const IProcessTable& table) {
  if (const auto ids = table.ids(pid)) uid = ids->uid;
}

void Process::enumerateAncestors(const IProcessTable& table) {
  if (pid != kUnsetId) ancestors.push_back(pid);
  uint32_t current = pid;
  uint32_t parent = getParentID(pid, table);
  // The table can change under us; a cycle longer than one step must end too.
  for (size_t steps = 0; parent != 0 && parent != kUnsetId && parent != current && steps < 4096; ++steps) {
    ancestors.push_back(parent);
    current = parent;
    parent = getParentID(parent, table);
  }
}

bool Process::isProcessAlive() const {
  if (::kill(static_cast<pid_t>(pid), 0) == 0) return true;
  return errno != ESRCH;
}

std::string Process::description() const {
  // Ids print as C's %d would, so an unset id reads -1.
  return fmt::format("pid: {} p_type: {} uid: {} ruid: {} sid: {} path: {} exit: {}", static_cast<int32_t>(pid), type,
                     static_cast<int32_t>(uid), static_cast<int32_t>(ruid), static_cast<int32_t>(sid), path,
                     static_cast<int32_t>(exit));
}

}  // namespace sondrel
