#include "session/read_loop.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>

#include "frame/dispatch.h"
#include "frame/logger.h"
#include "frame/owned.h"

namespace sondrel {

struct ReadLoop::State {
  std::mutex mutex;
  std::condition_variable finishedChanged;
  bool finished = true;
  bool stopRequested = false;
  std::thread::id loopThread;
  UniqueFd wakeRead;
  UniqueFd wakeWrite;
};

ReadLoop::ReadLoop(std::string name) : name_(std::move(name)), state_(std::make_shared<State>()) {}

ReadLoop::~ReadLoop() { stop(); }

bool ReadLoop::start(int fd, OnReadable onReadable) {
  int fds[2];
  if (::pipe(fds) != 0) {
    Logger::logError("{}: could not make the wake pipe: {}", name_, std::strerror(errno));
    return false;
  }
  for (int end : fds) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  ::fcntl(fds[1], F_SETFL, O_NONBLOCK);
  {
    std::lock_guard lock(state_->mutex);
    state_->wakeRead.reset(fds[0]);
    state_->wakeWrite.reset(fds[1]);
    state_->finished = false;
    state_->stopRequested = false;
  }
  ConcurrentQueue::global().async([state = state_, fd, onReadable = std::move(onReadable), name = name_] {
    int wakeFd;
    {
      std::lock_guard lock(state->mutex);
      state->loopThread = std::this_thread::get_id();
      wakeFd = state->wakeRead.get();
    }
    auto stopping = [&] {
      std::lock_guard lock(state->mutex);
      return state->stopRequested;
    };
    while (!stopping()) {
      pollfd watched[2] = {{fd, POLLIN, 0}, {wakeFd, POLLIN, 0}};
      const int ready = ::poll(watched, 2, -1);
      if (ready < 0) {
        if (errno == EINTR) continue;
        Logger::logError("{}: poll failed: {}", name, std::strerror(errno));
        break;
      }
      if (watched[1].revents != 0) break;
      if (watched[0].revents != 0 && !onReadable()) break;
    }
    std::lock_guard lock(state->mutex);
    state->finished = true;
    state->loopThread = {};
    state->finishedChanged.notify_all();
  });
  return true;
}

void ReadLoop::stop() {
  std::unique_lock lock(state_->mutex);
  if (state_->finished) return;
  state_->stopRequested = true;
  if (state_->wakeWrite) {
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(state_->wakeWrite.get(), &byte, 1);
  }
  // From inside onReadable the loop ends as soon as it returns.
  if (state_->loopThread == std::this_thread::get_id()) return;
  state_->finishedChanged.wait(lock, [&] { return state_->finished; });
}

}  // namespace sondrel
