#include <atomic>

#include "frame/logger.h"
#include "session/workspace_observer.h"

namespace sondrel {

namespace {
class NoWorkspaceObserver final : public IWorkspaceObserver {
 public:
  void addObservers(WorkspaceHandler) override {
    static std::atomic<bool> logged{false};
    if (!logged.exchange(true)) {
      Logger::logInfo("Application activation events have no source on this platform; none will be reported.");
    }
  }
  void removeObservers() override {}
};
}  // namespace

std::unique_ptr<IWorkspaceObserver> makeWorkspaceObserver() { return std::make_unique<NoWorkspaceObserver>(); }

}  // namespace sondrel
