#include "session/linux/proc_connector.h"

#include <linux/cn_proc.h>
#include <linux/connector.h>
#include <linux/netlink.h>
#include <sys/wait.h>

#include <cstring>

namespace sondrel::linux_proc {

namespace {
// Enough for every live process; beyond it the oldest knowledge is dropped at once.
constexpr size_t kMaxRememberedParents = 1 << 16;
}  // namespace

std::vector<ConnectorEvent> parseConnectorDatagram(std::span<const uint8_t> datagram) {
  std::vector<ConnectorEvent> events;
  size_t at = 0;
  while (datagram.size() - at >= sizeof(nlmsghdr)) {
    nlmsghdr header;
    std::memcpy(&header, datagram.data() + at, sizeof header);
    if (header.nlmsg_len < sizeof header || header.nlmsg_len > datagram.size() - at) break;
    const uint8_t* payload = datagram.data() + at + NLMSG_HDRLEN;
    const size_t payloadLength = header.nlmsg_len > NLMSG_HDRLEN ? header.nlmsg_len - NLMSG_HDRLEN : 0;
    at += NLMSG_ALIGN(header.nlmsg_len);
    if (header.nlmsg_type == NLMSG_ERROR || header.nlmsg_type == NLMSG_NOOP) continue;
    if (payloadLength < sizeof(cn_msg)) continue;
    cn_msg message;
    std::memcpy(&message, payload, sizeof message);
    if (message.id.idx != CN_IDX_PROC || message.id.val != CN_VAL_PROC) continue;
    const size_t dataLength = std::min<size_t>(message.len, payloadLength - sizeof(cn_msg));
    // Older kernels send shorter exit events; read what is there.
    proc_event event;
    std::memset(&event, 0, sizeof event);
    const size_t fixedPart = offsetof(proc_event, event_data);
    if (dataLength < fixedPart) continue;
    std::memcpy(&event, payload + sizeof(cn_msg), std::min(dataLength, sizeof event));
    ConnectorEvent parsed;
    switch (event.what) {
      case proc_event::PROC_EVENT_FORK:
        if (dataLength < fixedPart + sizeof event.event_data.fork) continue;
        parsed.kind = ConnectorEvent::fork;
        parsed.pid = static_cast<uint32_t>(event.event_data.fork.child_pid);
        parsed.tgid = static_cast<uint32_t>(event.event_data.fork.child_tgid);
        parsed.parentPid = static_cast<uint32_t>(event.event_data.fork.parent_pid);
        parsed.parentTgid = static_cast<uint32_t>(event.event_data.fork.parent_tgid);
        break;
      case proc_event::PROC_EVENT_EXEC:
        if (dataLength < fixedPart + sizeof event.event_data.exec) continue;
        parsed.kind = ConnectorEvent::exec;
        parsed.pid = static_cast<uint32_t>(event.event_data.exec.process_pid);
        parsed.tgid = static_cast<uint32_t>(event.event_data.exec.process_tgid);
        break;
      case proc_event::PROC_EVENT_EXIT:
        if (dataLength < offsetof(proc_event, event_data.exit.exit_signal)) continue;
        parsed.kind = ConnectorEvent::exit;
        parsed.pid = static_cast<uint32_t>(event.event_data.exit.process_pid);
        parsed.tgid = static_cast<uint32_t>(event.event_data.exit.process_tgid);
        parsed.exitCode = event.event_data.exit.exit_code;
        parsed.parentPid = static_cast<uint32_t>(event.event_data.exit.parent_pid);
        parsed.parentTgid = static_cast<uint32_t>(event.event_data.exit.parent_tgid);
        break;
      default:
        continue;
    }
    events.push_back(parsed);
  }
  return events;
}

uint32_t exitStatusFromWaitStatus(uint32_t waitStatus) {
  const int status = static_cast<int>(waitStatus);
  if (WIFSIGNALED(status)) return 128 + static_cast<uint32_t>(WTERMSIG(status));
  return static_cast<uint32_t>(WEXITSTATUS(status));
}

void ConnectorTracker::fillFromTable(Process& process, uint32_t fallbackPid) {
  if (const auto ids = table_.ids(process.pid)) {
    if (process.ppid == kUnsetId) process.ppid = ids->ppid;
    process.uid = ids->uid;
    process.ruid = ids->ruid;
    process.sid = ids->sid;
  }
  process.pathFromPid(table_);
  process.getArgs(table_);
  // A fresh fork is a copy of its parent: when it is gone already, the
  // parent still tells what it was running.
  if (process.path.empty() && fallbackPid != kUnsetId) {
    if (auto path = table_.executablePath(fallbackPid)) process.path = std::move(*path);
    if (process.arguments.empty()) {
      if (auto arguments = table_.arguments(fallbackPid)) process.arguments = std::move(*arguments);
    }
    if (process.uid == kUnsetId) {
      if (const auto ids = table_.ids(fallbackPid)) {
        process.uid = ids->uid;
        process.ruid = ids->ruid;
        process.sid = ids->sid;
      }
    }
  }
}

std::optional<ProcessChange> ConnectorTracker::handleEvent(const ConnectorEvent& event) {
  if (event.pid != event.tgid) return std::nullopt;
  ProcessChange change;
  Process& process = change.process;
  process.pid = event.tgid;
  switch (event.kind) {
    case ConnectorEvent::fork:
      process.type = 2;
      process.ppid = event.parentTgid;
      if (parents_.size() >= kMaxRememberedParents) parents_.clear();
      parents_[event.tgid] = event.parentTgid;
      fillFromTable(process, event.parentTgid);
      break;
    case ConnectorEvent::exec: {
      process.type = 23;
      fillFromTable(process, kUnsetId);
      if (process.ppid == kUnsetId) {
        if (const auto parent = parents_.find(event.tgid); parent != parents_.end()) process.ppid = parent->second;
      }
      break;
    }
    case ConnectorEvent::exit: {
      process.type = 1;
      change.kind = ProcessChange::ended;
      process.exit = exitStatusFromWaitStatus(event.exitCode);
      if (event.parentTgid != 0) {
        process.ppid = event.parentTgid;
      } else if (const auto parent = parents_.find(event.tgid); parent != parents_.end()) {
        process.ppid = parent->second;
      }
      parents_.erase(event.tgid);
      if (const auto ids = table_.ids(process.pid)) {
        process.uid = ids->uid;
        process.ruid = ids->ruid;
        process.sid = ids->sid;
        if (process.ppid == kUnsetId) process.ppid = ids->ppid;
      }
      return change;
    }
  }
  change.detailsGone = process.path.empty();
  return change;
}

}  // namespace sondrel::linux_proc
