#import <AppKit/AppKit.h>

#include <mutex>

#include "session/workspace_observer.h"

// Receives the shared workspace's activation notifications for the process source.
@interface SondrelProcessWorkspaceObserver : NSObject
- (instancetype)initWithHandler:(sondrel::WorkspaceHandler)handler;
- (void)notificationRecevied:(NSNotification*)notification;
@end

@implementation SondrelProcessWorkspaceObserver {
  sondrel::WorkspaceHandler _handler;
}

- (instancetype)initWithHandler:(sondrel::WorkspaceHandler)handler {
  if ((self = [super init])) _handler = std::move(handler);
  return self;
}

- (void)notificationRecevied:(NSNotification*)notification {
  NSRunningApplication* application = notification.userInfo[NSWorkspaceApplicationKey];
  if (application == nil) return;
  const auto pid = static_cast<uint32_t>(application.processIdentifier);
  if ([notification.name isEqualToString:NSWorkspaceDidActivateApplicationNotification]) {
    _handler(sondrel::WorkspaceChange::activated, pid);
  } else if ([notification.name isEqualToString:NSWorkspaceDidDeactivateApplicationNotification]) {
    _handler(sondrel::WorkspaceChange::deactivated, pid);
  }
}

@end

namespace sondrel {

namespace {

class WorkspaceObserver final : public IWorkspaceObserver {
 public:
  ~WorkspaceObserver() override { removeObservers(); }

  void addObservers(WorkspaceHandler handler) override {
    std::lock_guard lock(mutex_);
    removeLocked();
    observer_ = [[SondrelProcessWorkspaceObserver alloc] initWithHandler:std::move(handler)];
    NSNotificationCenter* center = [[NSWorkspace sharedWorkspace] notificationCenter];
    [center addObserver:observer_
               selector:@selector(notificationRecevied:)
                   name:NSWorkspaceDidActivateApplicationNotification
                 object:nil];
    [center addObserver:observer_
               selector:@selector(notificationRecevied:)
                   name:NSWorkspaceDidDeactivateApplicationNotification
                 object:nil];
  }

  void removeObservers() override {
    std::lock_guard lock(mutex_);
    removeLocked();
  }

 private:
  void removeLocked() {
    if (observer_ == nil) return;
    [[[NSWorkspace sharedWorkspace] notificationCenter] removeObserver:observer_];
    [[NSNotificationCenter defaultCenter] removeObserver:observer_];
    observer_ = nil;
  }

  std::mutex mutex_;
  SondrelProcessWorkspaceObserver* observer_ = nil;
};

}  // namespace

std::unique_ptr<IWorkspaceObserver> makeWorkspaceObserver() { return std::make_unique<WorkspaceObserver>(); }

}  // namespace sondrel
