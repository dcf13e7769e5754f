#include "session/process_events.h"

#include <unistd.h>

#include <cstdlib>

#include "frame/app_attributes.h"
#include "frame/c_strings.h"
#include "frame/users.h"
#include "frame/logger.h"
#include "session/audit_process_tracker.h"
#include "session/console_user.h"

namespace sondrel {

namespace {
constexpr const char* kCopyrightKey = "NSHumanReadableCopyright";
constexpr const char* kVersionKey = "CFBundleShortVersionString";

// Ids in the record are as the event had them; only the exit status has a
// "none" of its own (0).
uint32_t exitStatusOf(const Process& process) { return process.exit == kUnsetId ? 0 : process.exit; }
}  // namespace

std::shared_ptr<ProcessEvents> ProcessEvents::create() {
  const IProcessTable& table = systemProcessTable();
  return create(makeSystemProcessEventReader(table), table, makeWorkspaceObserver());
}

std::shared_ptr<ProcessEvents> ProcessEvents::create(std::unique_ptr<IProcessEventReader> reader,
                                                     const IProcessTable& table,
                                                     std::unique_ptr<IWorkspaceObserver> workspace) {
  return std::shared_ptr<ProcessEvents>(new ProcessEvents(std::move(reader), table, std::move(workspace)));
}

ProcessEvents::ProcessEvents(std::unique_ptr<IProcessEventReader> reader, const IProcessTable& table,
                             std::unique_ptr<IWorkspaceObserver> workspace)
    : reader_(std::move(reader)), table_(table), workspace_(std::move(workspace)) {}

// The last reference may go on the reader's own thread (the host unregistered
// from its callback); the reader's stop then returns without waiting for itself.
ProcessEvents::~ProcessEvents() {
  if (workspace_) workspace_->removeObservers();
  if (reader_) reader_->stop();
}

void ProcessEvents::startListening(ProcessEventCallback callback) {
  ConsoleUser::setProcessEventsCallback(callback);
  gate_.open(callback);
  started_ = true;
  addObservers();
  if (!reader_) return;
  reader_->start([weak = weak_from_this()](const ProcessChange& change) {
    if (auto self = weak.lock()) self->handleChange(change);
  });
}

void ProcessEvents::stopListening() {
  Logger::logDebug("ProcessEvents::stopListening");
  removeObservers();
  shouldStop = true;
  ConsoleUser::setProcessEventsCallback(nullptr);
  gate_.close();
  if (reader_) reader_->stop();
}

void ProcessEvents::onUserSwitched(const std::optional<std::string>& userName) {
  Logger::logDebug("ProcessEvents::onUserSwitched {}", userName.value_or("(null)"));
  ConsoleUser::setCurrentUserName(userName);
  removeObservers();
  if (!shouldStop) addObservers();
}

void ProcessEvents::addObservers() {
  std::lock_guard lock(observerMutex);
  Logger::logDebug("ProcessEvents::addObservers");
  if (!workspace_) return;
  workspace_->addObservers([weak = weak_from_this()](WorkspaceChange change, uint32_t pid) {
    auto self = weak.lock();
    if (!self) return;
    auto process = Process::fromPid(pid, self->table_);
    if (!process) return;
    if (change == WorkspaceChange::activated) {
      self->handleProcessActivated(*process);
    } else {
      self->handleProcessDeactivated(*process);
    }
  });
}

void ProcessEvents::removeObservers() {
  std::lock_guard lock(observerMutex);
  Logger::logDebug("ProcessEvents::removeObservers");
  if (workspace_) workspace_->removeObservers();
}

bool ProcessEvents::shouldProcessRecord(uint16_t type) { return AuditProcessTracker::shouldProcessRecord(type); }

void ProcessEvents::handleChange(const ProcessChange& change) {
  if (change.kind == ProcessChange::ended) {
    handleProcessExit(change.process);
  } else if (change.detailsGone) {
    Logger::logDebug("Process started and gone before it could be read: {}", change.process.description());
    handleProcessStartOrActivated(change.process, PE_PROCESS_STARTED, false);
  } else {
    handleProcessStart(change.process);
  }
}

void ProcessEvents::handleProcessStart(const Process& process) {
  Logger::logDebug("Process started: {}", process.description());
  handleProcessStartOrActivated(process, PE_PROCESS_STARTED);
}

void ProcessEvents::handleProcessExit(const Process& process) {
  Logger::logDebug("Process ended: {}", process.description());
  handleProcessExitOrDeactivated(process, PE_PROCESS_ENDED);
}

void ProcessEvents::handleProcessActivated(const Process& process) {
  Logger::logDebug("Process activated: {}", process.description());
  handleProcessStartOrActivated(process, PE_APP_ACTIVATED);
}

void ProcessEvents::handleProcessDeactivated(const Process& process) {
  Logger::logDebug("Process deactivated: {}", process.description());
  handleProcessExitOrDeactivated(process, PE_APP_DEACTIVATED);
}

void ProcessEvents::handleProcessStartOrActivated(Process process, uint32_t eventType, bool requirePath) {
  if (!gate_.isOpen() || process.pid == kUnsetId || (requirePath && process.path.empty())) return;
  if (process.ppid == kUnsetId) process.ppid = Process::getParentID(process.pid, table_);
  if (process.ancestors.empty()) process.enumerateAncestors(table_);

  process_event_t record{};
  record.eventType = eventType;
  record.auditEventType = process.type;
  record.pid = process.pid;
  record.ppid = process.ppid;
  record.uid = process.uid;
  record.ruid = process.ruid;
  record.sid = process.sid;
  record.user = getUserByUid(process.uid);
  record.path = process.path.empty() ? nullptr : CommonUtils::makeCString(process.path);
  record.argc = static_cast<uint32_t>(process.arguments.size());
  if (record.argc != 0) {
    record.argv = static_cast<char**>(std::calloc(record.argc, sizeof(char*)));
    if (record.argv == nullptr) record.argc = 0;
    for (uint32_t i = 0; i < record.argc; ++i) {
      // The record's rule: an empty argument is a null entry.
      if (!process.arguments[i].empty()) record.argv[i] = CommonUtils::makeCString(process.arguments[i]);
    }
  }
  record.exitStatus = exitStatusOf(process);
  std::map<std::string, std::string> attributes;
  getAppAttributesForEvent(record, attributes);

  (void)gate_.invoke(&record);

  std::free(record.path);
  for (uint32_t i = 0; i < record.argc; ++i) std::free(record.argv[i]);
  std::free(record.argv);
  std::free(record.user);
}

void ProcessEvents::handleProcessExitOrDeactivated(const Process& process, uint32_t eventType) {
  if (!gate_.isOpen()) return;
  process_event_t record{};
  record.eventType = eventType;
  record.auditEventType = process.type;
  record.pid = process.pid;
  record.ppid = process.ppid;
  record.uid = process.uid;
  record.ruid = process.ruid;
  record.sid = process.sid;
  record.exitStatus = exitStatusOf(process);
  record.user = getUserByUid(process.uid);
  (void)gate_.invoke(&record);
  std::free(record.user);
}

char* ProcessEvents::getUserByUid(uint32_t uid) {
  if (uid == kUnsetId) return nullptr;
  const auto name = userNameForUid(uid);
  return name ? CommonUtils::makeCString(*name) : nullptr;
}

void ProcessEvents::getAppAttributesForEvent(process_event_t& record, std::map<std::string, std::string>& storage) {
  if (record.path == nullptr) return;
  storage = CommonUtils::getAppAttributes({kCopyrightKey, kVersionKey}, record.path);
  if (const auto found = storage.find(kCopyrightKey); found != storage.end()) record.copyright = found->second.data();
  if (const auto found = storage.find(kVersionKey); found != storage.end()) record.version = found->second.data();
}

std::vector<Process> ProcessEvents::currentProcesses() const {
  std::vector<Process> processes;
  const auto pids = table_.listPids();
  if (!pids) return processes;
  for (uint32_t pid : *pids) {
    if (auto process = Process::fromPid(pid, table_)) processes.push_back(std::move(*process));
  }
  return processes;
}

}  // namespace sondrel
