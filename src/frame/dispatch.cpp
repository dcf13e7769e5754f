#include "frame/dispatch.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>

#include "frame/logger.h"

namespace sondrel {

void runGuarded(const std::function<void()>& work, std::string_view where) {
  try {
    work();
  } catch (const std::exception& error) {
    Logger::logError("Unhandled exception on {}: {}", where, error.what());
  } catch (...) {
    Logger::logError("Unhandled exception on {}", where);
  }
}

// ------------------------------------------------------------------ SerialQueue

namespace {
thread_local const void* currentSerialQueue = nullptr;
}

struct SerialQueue::State {
  std::string label;
  std::mutex mutex;
  std::condition_variable wake;
  std::deque<std::function<void()>> pending;
  bool stopping = false;
  bool started = false;
  std::thread worker;

  static void run(std::shared_ptr<State> self) {
    currentSerialQueue = self.get();
    std::unique_lock lock(self->mutex);
    for (;;) {
      self->wake.wait(lock, [&] { return self->stopping || !self->pending.empty(); });
      if (self->pending.empty()) return;  // stopping and drained
      auto work = std::move(self->pending.front());
      self->pending.pop_front();
      lock.unlock();
      runGuarded(work, self->label);
      work = nullptr;  // release captures off the lock
      lock.lock();
    }
  }
};

SerialQueue::SerialQueue(std::string label) : state_(std::make_shared<State>()) { state_->label = std::move(label); }

SerialQueue::~SerialQueue() {
  std::thread worker;
  {
    std::lock_guard lock(state_->mutex);
    state_->stopping = true;
    worker = std::move(state_->worker);
  }
  state_->wake.notify_all();
  if (!worker.joinable()) return;
  if (worker.get_id() == std::this_thread::get_id()) {
    worker.detach();  // released by one of its own items: the thread drains and ends alone
  } else {
    worker.join();
  }
}

void SerialQueue::async(std::function<void()> work) {
  std::lock_guard lock(state_->mutex);
  state_->pending.push_back(std::move(work));
  if (!state_->started) {
    state_->started = true;
    state_->worker = std::thread(&State::run, state_);
  }
  state_->wake.notify_one();
}

void SerialQueue::sync(const std::function<void()>& work) {
  if (isCurrent()) {
    work();
    return;
  }
  std::mutex doneMutex;
  std::condition_variable doneSignal;
  bool done = false;
  std::exception_ptr failure;
  async([&] {
    try {
      work();
    } catch (...) {
      failure = std::current_exception();
    }
    std::lock_guard lock(doneMutex);
    done = true;
    doneSignal.notify_all();
  });
  std::unique_lock lock(doneMutex);
  doneSignal.wait(lock, [&] { return done; });
  if (failure) std::rethrow_exception(failure);
}

bool SerialQueue::isCurrent() const { return currentSerialQueue == state_.get(); }

// -------------------------------------------------------------- ConcurrentQueue

struct ConcurrentQueue::State {
  size_t maxThreads;
  std::mutex mutex;
  std::condition_variable wake;
  std::deque<std::function<void()>> pending;
  std::vector<std::thread> workers;
  size_t idle = 0;
  bool stopping = false;

  static void run(std::shared_ptr<State> self) {
    std::unique_lock lock(self->mutex);
    for (;;) {
      ++self->idle;
      self->wake.wait(lock, [&] { return self->stopping || !self->pending.empty(); });
      --self->idle;
      if (self->pending.empty()) return;
      auto work = std::move(self->pending.front());
      self->pending.pop_front();
      lock.unlock();
      runGuarded(work, "concurrent queue");
      work = nullptr;
      lock.lock();
    }
  }
};

ConcurrentQueue::ConcurrentQueue(size_t maxThreads) : state_(std::make_shared<State>()) {
  state_->maxThreads = maxThreads == 0 ? 1 : maxThreads;
}

ConcurrentQueue::~ConcurrentQueue() {
  std::vector<std::thread> workers;
  {
    std::lock_guard lock(state_->mutex);
    state_->stopping = true;
    workers.swap(state_->workers);
  }
  state_->wake.notify_all();
  for (auto& worker : workers) {
    if (worker.get_id() == std::this_thread::get_id()) {
      worker.detach();
    } else {
      worker.join();
    }
  }
}

ConcurrentQueue& ConcurrentQueue::global() {
  // Leaked on purpose: readers blocked on the OS may still hold threads at exit.
  static ConcurrentQueue* queue = new ConcurrentQueue(64);
  return *queue;
}

void ConcurrentQueue::async(std::function<void()> work) {
  std::lock_guard lock(state_->mutex);
  state_->pending.push_back(std::move(work));
  if (state_->idle < state_->pending.size() && state_->workers.size() < state_->maxThreads) {
    state_->workers.emplace_back(&State::run, state_);
  }
  state_->wake.notify_one();
}

// --------------------------------------------------------------- RepeatingTimer

namespace {
// A host may pass an interval of 0; a timer that fires without pause would
// take a whole core, so it ticks once a second instead.
std::chrono::nanoseconds usableInterval(std::chrono::nanoseconds interval) {
  if (interval > std::chrono::nanoseconds::zero()) return interval;
  Logger::logWarning("Timer interval of {} ns raised to 1 second", interval.count());
  return std::chrono::seconds(1);
}
}  // namespace

struct RepeatingTimer::State {
  DispatchQueue* queue = nullptr;
  std::chrono::nanoseconds interval{};
  std::function<void()> handler;
  std::mutex mutex;
  std::condition_variable changed;
  bool cancelled = false;
  bool tickQueued = false;
  bool running = false;
  std::thread::id runningOn;
  std::thread clock;

  // Runs one tick unless the timer was cancelled meanwhile.
  static void fire(const std::shared_ptr<State>& self) {
    std::unique_lock lock(self->mutex);
    self->tickQueued = false;
    if (self->cancelled) return;
    self->running = true;
    self->runningOn = std::this_thread::get_id();
    auto handler = self->handler;
    lock.unlock();
    runGuarded(handler, "timer");
    lock.lock();
    self->running = false;
    self->changed.notify_all();
  }

  static void tick(std::shared_ptr<State> self) {
    std::unique_lock lock(self->mutex);
    auto deadline = std::chrono::steady_clock::now() + self->interval;
    for (;;) {
      if (self->changed.wait_until(lock, deadline, [&] { return self->cancelled; })) return;
      const auto now = std::chrono::steady_clock::now();
      deadline += self->interval;
      if (deadline <= now) deadline = now + self->interval;  // missed ticks are not replayed
      if (self->queue == nullptr) {
        lock.unlock();
        fire(self);
        lock.lock();
      } else if (!self->tickQueued) {
        self->tickQueued = true;
        lock.unlock();
        self->queue->async([self] { fire(self); });
        lock.lock();
      }
    }
  }
};

RepeatingTimer::RepeatingTimer(DispatchQueue& queue, std::chrono::nanoseconds interval,
                               std::function<void()> handler)
    : state_(std::make_shared<State>()) {
  state_->queue = &queue;
  state_->interval = usableInterval(interval);
  state_->handler = std::move(handler);
  state_->clock = std::thread(&State::tick, state_);
}

RepeatingTimer::RepeatingTimer(std::chrono::nanoseconds interval, std::function<void()> handler)
    : state_(std::make_shared<State>()) {
  state_->interval = usableInterval(interval);
  state_->handler = std::move(handler);
  state_->clock = std::thread(&State::tick, state_);
}

RepeatingTimer::~RepeatingTimer() { cancel(); }

void RepeatingTimer::cancel() {
  std::thread clock;
  {
    std::unique_lock lock(state_->mutex);
    state_->cancelled = true;
    state_->changed.notify_all();
    const auto self = std::this_thread::get_id();
    state_->changed.wait(lock, [&] { return !state_->running || state_->runningOn == self; });
    clock = std::move(state_->clock);
  }
  if (!clock.joinable()) return;
  if (clock.get_id() == std::this_thread::get_id()) {
    clock.detach();  // cancelled from its own handler: the thread ends after it
  } else {
    clock.join();
  }
}

// -------------------------------------------------------------------- TaskGroup

struct TaskGroup::State {
  std::mutex mutex;
  std::condition_variable allLeft;
  size_t members = 0;
};

TaskGroup::TaskGroup() : state_(std::make_shared<State>()) {}

void TaskGroup::async(DispatchQueue& queue, std::function<void()> work) {
  {
    std::lock_guard lock(state_->mutex);
    ++state_->members;
  }
  // The state outlives the group object when a waiter gave up before the work ended.
  queue.async([state = state_, work = std::move(work)] {
    runGuarded(work, "task group");
    std::lock_guard lock(state->mutex);
    if (--state->members == 0) state->allLeft.notify_all();
  });
}

bool TaskGroup::waitFor(std::chrono::nanoseconds timeout) {
  std::unique_lock lock(state_->mutex);
  return state_->allLeft.wait_for(lock, timeout, [&] { return state_->members == 0; });
}

}  // namespace sondrel
