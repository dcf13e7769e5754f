#pragma once
// Successive readings of a growing counter turned into a rate per second.
// Owned by one object and touched from that object's queue only.

#include <chrono>
#include <cstdint>
#include <optional>

namespace sondrel {

struct RateCounter {
  using Date = std::chrono::system_clock::time_point;

  uint64_t rn0 = 0;  // first value of the measuring span
  uint64_t rn1 = 0;  // latest value
  Date rd0{};        // time of rn0; the epoch while unset
  Date rd1{};        // time of rn1; the epoch while unset

  void update(uint64_t value) { update(value, std::chrono::system_clock::now()); }
  // A value below the span's first one means the counter was reset (an
  // interface came back, say): the span restarts from it.
  void update(uint64_t value, Date now);
  void reset();
  // Units per second over the span; nothing until two readings at different times.
  [[nodiscard]] std::optional<double> read() const;
  std::optional<double> sample(uint64_t value) { return sample(value, std::chrono::system_clock::now()); }
  std::optional<double> sample(uint64_t value, Date now);
};

}  // namespace sondrel
