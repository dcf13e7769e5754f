#pragma once
// Reports process starts and exits (from the platform's process event reader)
// and application activations (from the workspace) to the host's process
// callback, one process_event_t per event.
// Thread contract: records are delivered on the reader's thread and on the
// thread posting workspace notifications; the callback sits behind a gate,
// so once stopListening has returned it is never called again.

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "frame/callback_gate.h"
#include "frame/event_source.h"
#include "session/process.h"
#include "session/process_change.h"
#include "session/workspace_observer.h"
#include "sondrel/sondrel.h"

namespace sondrel {

class ProcessEvents final : public IUserFollowingSource, public std::enable_shared_from_this<ProcessEvents> {
 public:
  // The platform's reader, process table and workspace.
  static std::shared_ptr<ProcessEvents> create();
  static std::shared_ptr<ProcessEvents> create(std::unique_ptr<IProcessEventReader> reader, const IProcessTable& table,
                                               std::unique_ptr<IWorkspaceObserver> workspace);
  ~ProcessEvents() override;

  void startListening(ProcessEventCallback callback);
  void stopListening() override;
  void onUserSwitched(const std::optional<std::string>& userName) override;

  void addObservers();
  void removeObservers();

  void handleProcessStart(const Process& process);
  void handleProcessExit(const Process& process);
  void handleProcessActivated(const Process& process);
  void handleProcessDeactivated(const Process& process);

  [[nodiscard]] static bool shouldProcessRecord(uint16_t type);
  // A malloc'd copy of the name of uid (free with free()), or null.
  [[nodiscard]] static char* getUserByUid(uint32_t uid);
  // Points copyright and version at the application's values, kept in storage.
  static void getAppAttributesForEvent(process_event_t& record, std::map<std::string, std::string>& storage);
  [[nodiscard]] std::vector<Process> currentProcesses() const;

 private:
  ProcessEvents(std::unique_ptr<IProcessEventReader> reader, const IProcessTable& table,
                std::unique_ptr<IWorkspaceObserver> workspace);

  void handleChange(const ProcessChange& change);
  void handleProcessStartOrActivated(Process process, uint32_t eventType, bool requirePath = true);
  void handleProcessExitOrDeactivated(const Process& process, uint32_t eventType);

  std::unique_ptr<IProcessEventReader> reader_;
  const IProcessTable& table_;
  std::unique_ptr<IWorkspaceObserver> workspace_;
  CallbackGate<ProcessEventCallback> gate_;
  std::mutex observerMutex;
  std::atomic<bool> shouldStop{false};
  std::atomic<bool> started_{false};
};

}  // namespace sondrel
