#include <chrono>
#include <condition_variable>
#include <mutex>

#include "frame/main_loop.h"

namespace sondrel {

namespace {
std::mutex loopMutex;
std::condition_variable loopWake;
int runRunloop = 0;
constexpr std::chrono::seconds kSlice{30};
}  // namespace

void runMainLoop() {
  std::unique_lock lock(loopMutex);
  runRunloop = 1;
  while (runRunloop != 0) loopWake.wait_for(lock, kSlice);
}

void stopMainLoop() {
  std::lock_guard lock(loopMutex);
  runRunloop = 0;
  loopWake.notify_all();
}

}  // namespace sondrel
