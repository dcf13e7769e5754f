#include "session/audit_process_tracker.h"

#include "frame/logger.h"
#include "session/bsm_token.h"

namespace sondrel {

bool AuditProcessTracker::shouldProcessRecord(uint16_t type) {
  return type == kExit || type == kFork || type == kExec || type == kExecve || type == kPosixSpawn;
}

std::optional<ProcessChange> AuditProcessTracker::handleRecord(std::span<const uint8_t> record) {
  bsm::TokenCursor cursor(record);
  bsm::Token token;
  std::optional<Process> process;
  for (;;) {
    const auto status = cursor.next(token);
    if (status == bsm::TokenStatus::end) return std::nullopt;
    if (status == bsm::TokenStatus::malformed) {
      ++malformedRecords_;
      Logger::logWarning("Dropped a malformed audit record of {} bytes (token at offset {})", record.size(),
                         cursor.offset());
      return std::nullopt;
    }
    if (bsm::isHeaderId(token.id)) {
      process.emplace();
      process->type = std::get<bsm::HeaderToken>(token.value).event;
      continue;
    }
    if (process && !shouldProcessRecord(process->type)) return std::nullopt;
    if (!process) continue;

    switch (token.id) {
      case bsm::kSubject32:
      case bsm::kSubject64:
      case bsm::kSubject32Ex:
      case bsm::kSubject64Ex: {
        const auto& subject = std::get<bsm::SubjectToken>(token.value);
        if (process->type == kPosixSpawn) {
          if (process->pid == kUnsetId) {
            process->pid = subject.pid;
            process->ppid = Process::getParentID(subject.pid, table_);
          } else {
            process->ppid = subject.pid;
          }
        } else if (process->type == kFork) {
          process->ppid = subject.pid;
        } else {
          process->pid = subject.pid;
          process->ppid = Process::getParentID(subject.pid, table_);
        }
        process->uid = subject.euid;
        process->ruid = subject.ruid;
        process->sid = subject.sid;
        break;
      }
      case bsm::kArg32:
      case bsm::kArg64:
        if (process->type == kPosixSpawn || process->type == kFork) {
          const auto& argument = std::get<bsm::ArgToken>(token.value);
          process->pid = static_cast<uint32_t>(argument.value);
          if (process->type == kFork) process->pathFromPid(table_);
        }
        break;
      case bsm::kPath:
        process->path = std::get<bsm::StringToken>(token.value).text;
        break;
      case bsm::kExecArgs:
        std::get<bsm::ExecStringsToken>(token.value).forEach([&](std::string_view argument) {
          process->arguments.emplace_back(argument);
        });
        break;
      case bsm::kExit:
        process->exit = std::get<bsm::ExitToken>(token.value).status;
        break;
      case bsm::kTrailer: {
        if (process->type == kExit) return ProcessChange{ProcessChange::ended, std::move(*process)};
        process->pathFromPid(table_);
        if ((process->path.empty() || process->path.starts_with("/dev/")) && !process->arguments.empty()) {
          process->path = process->arguments.front();
        }
        if (process->type == kFork) {
          lastFork_ = *process;
        } else if (process->ppid == kUnsetId && lastFork_ && lastFork_->pid == process->pid) {
          process->ppid = lastFork_->ppid;
        }
        return ProcessChange{ProcessChange::started, std::move(*process)};
      }
      default:
        break;
    }
  }
}

}  // namespace sondrel
