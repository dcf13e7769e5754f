#pragma once
// Holds a host callback so that, once close() has returned, it is never called
// again: calls in flight on other threads are waited for. A callback that
// closes its own gate (the host unregisters from inside its callback) is not
// waited for; the gate is shut for every later call all the same.
// Thread contract: any thread may call, open or close.

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace sondrel {

template <typename Callback>
class CallbackGate {
 public:
  CallbackGate() = default;
  explicit CallbackGate(Callback callback) : callback_(callback) {}

  void open(Callback callback) {
    std::lock_guard lock(mutex_);
    callback_ = callback;
  }

  void close() {
    std::unique_lock lock(mutex_);
    callback_ = nullptr;
    const auto self = std::this_thread::get_id();
    idle_.wait(lock, [&] {
      for (auto id : callers_) {
        if (id != self) return false;
      }
      return true;
    });
  }

  [[nodiscard]] bool isOpen() const {
    std::lock_guard lock(mutex_);
    return callback_ != nullptr;
  }

  // Calls the callback with args when the gate is open; false when it is shut.
  template <typename... Args>
  bool invoke(Args&&... args) {
    Callback callback;
    {
      std::lock_guard lock(mutex_);
      callback = callback_;
      if (callback == nullptr) return false;
      callers_.push_back(std::this_thread::get_id());
    }
    callback(std::forward<Args>(args)...);
    std::lock_guard lock(mutex_);
    for (auto it = callers_.begin(); it != callers_.end(); ++it) {
      if (*it == std::this_thread::get_id()) {
        callers_.erase(it);
        break;
      }
    }
    idle_.notify_all();
    return true;
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable idle_;
  Callback callback_ = nullptr;
  std::vector<std::thread::id> callers_;
};

}  // namespace sondrel
