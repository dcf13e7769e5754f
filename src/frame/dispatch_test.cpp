#include "frame/dispatch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace sondrel {
namespace {

using namespace std::chrono_literals;

// A latch with a generous timeout: tests wait for events, never for time.
class Signal {
 public:
  void notify() {
    std::lock_guard lock(mutex_);
    ++count_;
    changed_.notify_all();
  }
  bool waitFor(int count, std::chrono::milliseconds timeout = 5s) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return count_ >= count; });
  }
  int count() {
    std::lock_guard lock(mutex_);
    return count_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int count_ = 0;
};

TEST(SerialQueue, RunsItemsOneAtATimeInOrder) {
  std::vector<int> order;
  std::atomic<int> running{0};
  bool overlapped = false;
  {
    SerialQueue queue("test.order");
    for (int i = 0; i < 200; ++i) {
      queue.async([&, i] {
        if (running.fetch_add(1) != 0) overlapped = true;
        order.push_back(i);
        running.fetch_sub(1);
      });
    }
  }  // destruction drains what is pending
  ASSERT_EQ(order.size(), 200u);
  for (int i = 0; i < 200; ++i) EXPECT_EQ(order[i], i);
  EXPECT_FALSE(overlapped);
}

TEST(SerialQueue, SyncFromItsOwnItemRunsInlineInsteadOfDeadlocking) {
  SerialQueue queue("test.reentrant");
  bool innerRan = false;
  bool onQueue = false;
  queue.sync([&] {
    queue.sync([&] { innerRan = true; });
    onQueue = queue.isCurrent();
  });
  EXPECT_TRUE(innerRan);
  EXPECT_TRUE(onQueue);
  EXPECT_FALSE(queue.isCurrent());
}

TEST(SerialQueue, SyncPassesExceptionsToTheCallerAndTheQueueLivesOn) {
  SerialQueue queue("test.throw");
  EXPECT_THROW(queue.sync([] { throw std::runtime_error("boom"); }), std::runtime_error);
  Signal ran;
  queue.async([] { throw std::runtime_error("swallowed and logged"); });
  queue.async([&] { ran.notify(); });
  EXPECT_TRUE(ran.waitFor(1));
}

TEST(SerialQueue, MayBeReleasedByOneOfItsOwnItems) {
  auto queue = std::make_shared<SerialQueue>("test.self-release");
  Signal released;
  queue->async([&released, queue = std::move(queue)]() mutable {
    queue.reset();
    released.notify();
  });
  EXPECT_TRUE(released.waitFor(1));
}

TEST(RepeatingTimer, FirstTickComesOneIntervalAfterStartThenRepeats) {
  SerialQueue queue("test.timer");
  Signal ticks;
  const auto started = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point first{};
  RepeatingTimer timer(queue, 40ms, [&] {
    if (ticks.count() == 0) first = std::chrono::steady_clock::now();
    ticks.notify();
  });
  ASSERT_TRUE(ticks.waitFor(3));
  timer.cancel();
  EXPECT_GE(first - started, 40ms);
}

TEST(RepeatingTimer, CancelWaitsForARunningHandlerAndStopsFurtherTicks) {
  SerialQueue queue("test.cancel");
  Signal entered;
  std::atomic<bool> handlerDone{false};
  std::atomic<int> ticks{0};
  RepeatingTimer timer(queue, 10ms, [&] {
    if (ticks.fetch_add(1) == 0) {
      entered.notify();
      std::this_thread::sleep_for(100ms);
      handlerDone = true;
    }
  });
  ASSERT_TRUE(entered.waitFor(1));
  timer.cancel();
  EXPECT_TRUE(handlerDone.load()) << "cancel returned while the handler still ran";
  const int afterCancel = ticks.load();
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(ticks.load(), afterCancel);
}

TEST(RepeatingTimer, CancelFromItsOwnHandlerDoesNotWaitForItself) {
  Signal cancelled;
  std::unique_ptr<RepeatingTimer> timer;
  std::mutex timerMutex;
  std::atomic<int> ticks{0};
  {
    std::lock_guard lock(timerMutex);
    timer = std::make_unique<RepeatingTimer>(10ms, [&] {
      ticks.fetch_add(1);
      std::lock_guard inner(timerMutex);
      timer->cancel();
      cancelled.notify();
    });
  }
  ASSERT_TRUE(cancelled.waitFor(1));
  std::this_thread::sleep_for(40ms);
  EXPECT_EQ(ticks.load(), 1);
  std::lock_guard lock(timerMutex);
  timer.reset();
}

TEST(RepeatingTimer, HandlerHoldingAWeakSourceStopsProducingOnceItIsGone) {
  struct Source {
    std::atomic<int> ticks{0};
  };
  auto source = std::make_shared<Source>();
  Signal ticked;
  std::atomic<int> afterRelease{0};
  RepeatingTimer timer(10ms, [weak = std::weak_ptr<Source>(source), &ticked, &afterRelease] {
    if (auto strong = weak.lock()) {
      strong->ticks.fetch_add(1);
      ticked.notify();
    } else {
      afterRelease.fetch_add(1);
    }
  });
  ASSERT_TRUE(ticked.waitFor(1));
  source.reset();
  std::this_thread::sleep_for(40ms);
  timer.cancel();
  EXPECT_GE(afterRelease.load(), 1) << "the timer kept firing but found no source";
}

TEST(RepeatingTimer, AZeroIntervalDoesNotSpin) {
  std::atomic<int> ticks{0};
  RepeatingTimer timer(std::chrono::nanoseconds::zero(), [&] { ticks.fetch_add(1); });
  std::this_thread::sleep_for(50ms);
  timer.cancel();
  EXPECT_EQ(ticks.load(), 0);
}

TEST(ConcurrentQueue, GrowsWhileItsThreadsAreBlocked) {
  ConcurrentQueue queue(4);
  Signal started;
  std::mutex gateMutex;
  std::condition_variable gate;
  bool open = false;
  for (int i = 0; i < 3; ++i) {
    queue.async([&] {
      started.notify();
      std::unique_lock lock(gateMutex);
      gate.wait(lock, [&] { return open; });
    });
  }
  EXPECT_TRUE(started.waitFor(3)) << "three blocking items must run at once";
  {
    std::lock_guard lock(gateMutex);
    open = true;
  }
  gate.notify_all();
}

TEST(TaskGroup, WaitForTimesOutWhileWorkIsInFlightAndSucceedsAfter) {
  ConcurrentQueue queue(2);
  TaskGroup group;
  std::mutex gateMutex;
  std::condition_variable gate;
  bool open = false;
  group.async(queue, [&] {
    std::unique_lock lock(gateMutex);
    gate.wait(lock, [&] { return open; });
  });
  EXPECT_FALSE(group.waitFor(30ms));
  {
    std::lock_guard lock(gateMutex);
    open = true;
  }
  gate.notify_all();
  EXPECT_TRUE(group.waitFor(5s));
}

TEST(TaskGroup, WorkThatOutlivesAnAbandonedGroupIsSafe) {
  ConcurrentQueue queue(2);
  Signal finished;
  {
    TaskGroup group;
    group.async(queue, [&] {
      std::this_thread::sleep_for(50ms);
      finished.notify();
    });
    EXPECT_FALSE(group.waitFor(1ms));
  }
  EXPECT_TRUE(finished.waitFor(1));
}

}  // namespace
}  // namespace sondrel
