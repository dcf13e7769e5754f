#include "perf/rate_counter.h"

namespace sondrel {

void RateCounter::update(uint64_t value, Date now) {
  if (rd0 == Date{}) {
    rn0 = value;
    rd0 = now;
    return;
  }
  if (value >= rn0) {
    rn1 = value;
    rd1 = now;
    return;
  }
  reset();
  rn0 = value;
  rd0 = now;
}

void RateCounter::reset() {
  rn0 = 0;
  rn1 = 0;
  rd0 = Date{};
  rd1 = Date{};
}

std::optional<double> RateCounter::read() const {
  if (rd0 == Date{} || rd1 == Date{}) return std::nullopt;
  const std::chrono::duration<double> elapsed = rd1 - rd0;
  if (elapsed.count() <= 0) return std::nullopt;
  return static_cast<double>(rn1 - rn0) / elapsed.count();
}

std::optional<double> RateCounter::sample(uint64_t value, Date now) {
  update(value, now);
  return read();
}

}  // namespace sondrel
