#pragma once
// One process-wide slot per family: non-empty exactly while the family is
// registered. Register and unregister of one family are serialised here, so
// racing host threads can neither build two sources nor stop one twice.

#include <concepts>
#include <memory>
#include <mutex>
#include <type_traits>

namespace sondrel {

template <typename Source>
class SourceSlot {
 public:
  // Builds, stores and starts a source unless one is registered; false when
  // the slot was already taken (the existing source keeps running). build
  // returns the family's own source type, and start receives it as that type.
  template <typename Build, typename Start>
    requires std::convertible_to<std::invoke_result_t<Build&>, std::shared_ptr<Source>>
  bool registerOnce(Build&& build, Start&& start) {
    std::lock_guard lock(mutex_);
    if (source_) return false;
    auto source = build();
    if (!source) return false;
    source_ = source;
    start(*source);
    return true;
  }

  // Stops and releases the source, if any. The slot is empty before the stop
  // begins, so a register from inside the stopping callback builds a new one.
  void unregister() {
    std::shared_ptr<Source> source;
    {
      std::lock_guard lock(mutex_);
      source.swap(source_);
    }
    if (source) source->stopListening();
  }

  [[nodiscard]] bool isSet() const {
    std::lock_guard lock(mutex_);
    return source_ != nullptr;
  }

  [[nodiscard]] std::shared_ptr<Source> get() const {
    std::lock_guard lock(mutex_);
    return source_;
  }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<Source> source_;
};

}  // namespace sondrel
