#pragma once
// Application activation and deactivation, as the platform's workspace
// reports them (macOS: NSWorkspace notifications).
// Thread contract: add/remove from any thread; the handler runs on the
// thread that posts the notification.

#include <cstdint>
#include <functional>
#include <memory>

namespace sondrel {

enum class WorkspaceChange { activated, deactivated };
using WorkspaceHandler = std::function<void(WorkspaceChange change, uint32_t pid)>;

class IWorkspaceObserver {
 public:
  virtual ~IWorkspaceObserver() = default;
  // Replaces any observation in place: adding twice observes once.
  virtual void addObservers(WorkspaceHandler handler) = 0;
  // Returns when no handler call will start.
  virtual void removeObservers() = 0;
};

[[nodiscard]] std::unique_ptr<IWorkspaceObserver> makeWorkspaceObserver();

}  // namespace sondrel
