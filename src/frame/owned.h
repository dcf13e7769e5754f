#pragma once
// One owning wrapper for every OS handle: released exactly once, movable, never copied.

#include <dirent.h>
#include <unistd.h>

#include <utility>

namespace sondrel {

template <typename T, T Invalid, auto Release>
class Owned {
 public:
  Owned() = default;
  explicit Owned(T value) : value_(value) {}
  Owned(Owned&& other) noexcept : value_(std::exchange(other.value_, Invalid)) {}
  Owned& operator=(Owned&& other) noexcept {
    reset(std::exchange(other.value_, Invalid));
    return *this;
  }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  ~Owned() { reset(); }

  [[nodiscard]] T get() const { return value_; }
  explicit operator bool() const { return value_ != Invalid; }
  [[nodiscard]] T release() { return std::exchange(value_, Invalid); }
  void reset(T value = Invalid) {
    if (value_ != Invalid) Release(value_);
    value_ = value;
  }

 private:
  T value_ = Invalid;
};

using UniqueFd = Owned<int, -1, ::close>;
using UniqueDir = Owned<DIR*, nullptr, ::closedir>;

}  // namespace sondrel
