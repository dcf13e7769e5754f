#include "session/audit_process_tracker.h"

#include <type_traits>

#include "frame/logger.h"
#include "session/bsm_token.h"

namespace sondrel {

bool AuditProcessTracker::shouldProcessRecord(uint16_t type) {
  return type == kExit || type == kFork || type == kExec || type == kExecve || type == kPosixSpawn;
}

namespace {

bool isSubject(uint8_t id) {
  return id == bsm::kSubject32 || id == bsm::kSubject64 || id == bsm::kSubject32Ex || id == bsm::kSubject64Ex;
}

}  // namespace

std::optional<ProcessChange> AuditProcessTracker::handleRecord(std::span<const uint8_t> record) {
  std::optional<Process> process;
  std::optional<ProcessChange> change;
  const auto walked = bsm::walkTokens(record, [&](const bsm::TokenInfo& info, const auto& value) {
    using Value = std::decay_t<decltype(value)>;
    if constexpr (std::is_same_v<Value, bsm::HeaderToken>) {
      // Every other event type is left unread.
      if (!shouldProcessRecord(value.event)) return false;
      process.emplace();
      process->type = value.event;
      return true;
    } else {
      if (!process) return true;
      if constexpr (std::is_same_v<Value, bsm::SubjectToken>) {
        if (isSubject(info.id)) takeSubject(value, *process);  // a process token names another process
      } else if constexpr (std::is_same_v<Value, bsm::ArgToken>) {
        if (process->type == kPosixSpawn || process->type == kFork) {
          process->pid = static_cast<uint32_t>(value.value);
          if (process->type == kFork) process->pathFromPid(table_);
        }
      } else if constexpr (std::is_same_v<Value, bsm::StringToken>) {
        if (info.id == bsm::kPath) process->path = value.text;
      } else if constexpr (std::is_same_v<Value, bsm::ExecStringsToken>) {
        if (info.id == bsm::kExecArgs) {
          value.forEach([&](std::string_view argument) { process->arguments.emplace_back(argument); });
        }
      } else if constexpr (std::is_same_v<Value, bsm::ExitToken>) {
        process->exit = value.status;
      } else if constexpr (std::is_same_v<Value, bsm::TrailerToken>) {
        change = finish(std::move(*process));
      }
      return true;
    }
  });
  if (walked.status == bsm::WalkStatus::malformed) {
    ++malformedRecords_;
    Logger::logWarning("Dropped a malformed audit record of {} bytes (token at offset {})", record.size(),
                       walked.offset);
    return std::nullopt;
  }
  return change;
}

void AuditProcessTracker::takeSubject(const bsm::SubjectToken& subject, Process& process) const {
  if (process.type == kPosixSpawn) {
    if (process.pid == kUnsetId) {
      process.pid = subject.pid;
      process.ppid = Process::getParentID(subject.pid, table_);
    } else {
      process.ppid = subject.pid;
    }
  } else if (process.type == kFork) {
    process.ppid = subject.pid;
  } else {
    process.pid = subject.pid;
    process.ppid = Process::getParentID(subject.pid, table_);
  }
  process.uid = subject.euid;
  process.ruid = subject.ruid;
  process.sid = subject.sid;
}

ProcessChange AuditProcessTracker::finish(Process process) {
  if (process.type == kExit) return ProcessChange{ProcessChange::ended, std::move(process)};
  process.pathFromPid(table_);
  if ((process.path.empty() || process.path.starts_with("/dev/")) && !process.arguments.empty()) {
    process.path = process.arguments.front();
  }
  if (process.type == kFork) {
    lastFork_ = process;
  } else if (process.ppid == kUnsetId && lastFork_ && lastFork_->pid == process.pid) {
    process.ppid = lastFork_->ppid;
  }
  return ProcessChange{ProcessChange::started, std::move(process)};
}

}  // namespace sondrel
