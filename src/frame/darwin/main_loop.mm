#import <AppKit/AppKit.h>
#include <CoreFoundation/CoreFoundation.h>

#include <atomic>

#include "frame/main_loop.h"

namespace sondrel {

namespace {
// Not retained: it belongs to the thread that runs initMainLoop.
std::atomic<CFRunLoopRef> runLoop{nullptr};
std::atomic<int> runRunloop{0};
constexpr CFTimeInterval kSliceSeconds = 30.0;
}  // namespace

void runMainLoop() {
  if (!NSApplicationLoad()) return;
  runLoop.store(CFRunLoopGetCurrent());
  runRunloop.store(1);
  while (runRunloop.load() != 0) {
    @autoreleasepool {
      CFRunLoopRunInMode(kCFRunLoopDefaultMode, kSliceSeconds, false);
    }
  }
}

void stopMainLoop() {
  runRunloop.store(0);
  if (CFRunLoopRef loop = runLoop.load()) CFRunLoopStop(loop);
}

}  // namespace sondrel
