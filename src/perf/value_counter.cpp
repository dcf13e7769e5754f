#include "perf/value_counter.h"

namespace sondrel {

void ValueCounter::append(double value, Date now) {
  readings_.push_back({value, now});
  if (static_cast<int64_t>(readings_.size()) < capacity_) return;
  const auto folded = read();
  readings_.clear();
  if (folded) readings_.push_back({folded->mean, folded->to});
}

std::optional<ValueCounter::AveragedSample> ValueCounter::read() const {
  if (readings_.empty()) return std::nullopt;
  double sum = 0;
  for (const auto& reading : readings_) sum += reading.value;
  return AveragedSample{sum / static_cast<double>(readings_.size()), readings_.front().time, readings_.back().time};
}

}  // namespace sondrel
