#pragma once
// Serial and concurrent queues, repeating timers and task groups on the C++
// standard library, so that every source runs the same way on every platform
// and its threading is tested where the tests run.

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace sondrel {

class DispatchQueue {
 public:
  virtual ~DispatchQueue() = default;
  virtual void async(std::function<void()> work) = 0;
};

// Runs work items one at a time, in order, on one worker thread started on
// first use. Destruction runs what is pending, then joins the worker (or lets
// it finish on its own when the queue is released by one of its own items).
class SerialQueue final : public DispatchQueue {
 public:
  explicit SerialQueue(std::string label);
  ~SerialQueue() override;
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  void async(std::function<void()> work) override;
  // Runs work on the queue and waits for it; runs it inline when called from
  // the queue itself, so a queue never waits for itself.
  void sync(const std::function<void()>& work);
  [[nodiscard]] bool isCurrent() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

// A pool that grows, up to a bound, while every thread is busy: blocking
// readers may occupy threads for a long time, as on the system's global queue.
class ConcurrentQueue final : public DispatchQueue {
 public:
  explicit ConcurrentQueue(size_t maxThreads);
  ~ConcurrentQueue() override;
  ConcurrentQueue(const ConcurrentQueue&) = delete;
  ConcurrentQueue& operator=(const ConcurrentQueue&) = delete;

  // The process-wide queue of default priority; lives until the process exits.
  static ConcurrentQueue& global();

  void async(std::function<void()> work) override;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

// Fires one interval after construction and then every interval, until
// cancelled; an interval of zero or less is raised to one second. With a queue, the handler runs on that queue (a tick that is
// still waiting there is not queued twice); without one, on a thread of the
// timer's own. cancel() returns when no handler runs and none will start,
// except when called from the handler itself, which it cannot wait for.
class RepeatingTimer {
 public:
  RepeatingTimer(DispatchQueue& queue, std::chrono::nanoseconds interval, std::function<void()> handler);
  RepeatingTimer(std::chrono::nanoseconds interval, std::function<void()> handler);
  ~RepeatingTimer();
  RepeatingTimer(const RepeatingTimer&) = delete;
  RepeatingTimer& operator=(const RepeatingTimer&) = delete;

  void cancel();

 private:
  struct State;
  std::shared_ptr<State> state_;
};

// Counts work in flight so that a caller can wait for all of it, with a bound.
class TaskGroup {
 public:
  TaskGroup();
  // Runs work on queue as one member of the group.
  void async(DispatchQueue& queue, std::function<void()> work);
  // True when every member has left before the timeout.
  [[nodiscard]] bool waitFor(std::chrono::nanoseconds timeout);

 private:
  struct State;
  std::shared_ptr<State> state_;
};

// Runs one work item and logs, instead of propagating, whatever it throws:
// a queue's thread must survive a faulty item.
void runGuarded(const std::function<void()>& work, std::string_view where);

}  // namespace sondrel
