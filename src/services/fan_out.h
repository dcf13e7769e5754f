#pragma once
// One batch of tool queries run side by side on a concurrent queue and
// waited for with a bound. What the queries fill is shared with them, so a
// query that finishes after the wait gave up still writes into memory that
// exists; its result is simply not used.
// Thread contract: async and waitFor on the caller's thread; publishing from
// any thread, always under the one lock.

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "frame/dispatch.h"

namespace sondrel {

template <typename Value>
class FanOut {
  struct Shared {
    explicit Shared(Value initial) : value(std::move(initial)) {}
    std::mutex lock;
    Value value;
  };

 public:
  // What a query is handed: publish(update) runs update(value) under the lock.
  class Publisher {
   public:
    template <typename Update>
    void operator()(Update&& update) const {
      std::lock_guard guard(shared_->lock);
      std::forward<Update>(update)(shared_->value);
    }

   private:
    friend class FanOut;
    explicit Publisher(std::shared_ptr<Shared> shared) : shared_(std::move(shared)) {}
    std::shared_ptr<Shared> shared_;
  };

  explicit FanOut(DispatchQueue& queue, Value initial = Value())
      : queue_(queue), shared_(std::make_shared<Shared>(std::move(initial))) {}

  // Runs query(publish) on the queue as one member of the batch.
  template <typename Query>
  void async(Query query) {
    group_.async(queue_, [query = std::move(query), publish = Publisher{shared_}]() mutable { query(publish); });
  }

  // For results known without a query; queries may already be publishing.
  template <typename Update>
  void publish(Update&& update) {
    Publisher{shared_}(std::forward<Update>(update));
  }

  // The value once every query has finished, or nothing when timeout came first.
  [[nodiscard]] std::optional<Value> waitFor(std::chrono::nanoseconds timeout) {
    if (!group_.waitFor(timeout)) return std::nullopt;
    std::lock_guard guard(shared_->lock);
    return std::move(shared_->value);
  }

 private:
  DispatchQueue& queue_;
  TaskGroup group_;
  std::shared_ptr<Shared> shared_;
};

}  // namespace sondrel
