#pragma once
// Averages a fluctuating reading over time without keeping more than a
// bounded number of readings. Touched from its owner's queue only.

#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace sondrel {

class ValueCounter {
 public:
  using Date = std::chrono::system_clock::time_point;

  struct Reading {
    double value = 0;
    Date time{};
  };

  // The mean of the readings held, and the times of the first and last of them.
  struct AveragedSample {
    double mean = 0;
    Date from{};
    Date to{};
  };

  explicit ValueCounter(int64_t capacity) : capacity_(capacity) {}

  void append(double value) { append(value, std::chrono::system_clock::now()); }
  // When the list reaches capacity it folds into one reading of its average.
  void append(double value, Date now);
  [[nodiscard]] std::optional<AveragedSample> read() const;

  [[nodiscard]] const std::vector<Reading>& readings() const { return readings_; }
  [[nodiscard]] int64_t capacity() const { return capacity_; }

 private:
  std::vector<Reading> readings_;
  int64_t capacity_;
};

}  // namespace sondrel
