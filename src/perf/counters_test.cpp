#include <gtest/gtest.h>

#include "perf/rate_counter.h"
#include "perf/value_counter.h"

namespace sondrel {
namespace {

using namespace std::chrono_literals;
const auto t0 = std::chrono::system_clock::time_point{} + 1000h;

TEST(RateCounter, RateIsTheGrowthOverTheSpan) {
  RateCounter counter;
  EXPECT_FALSE(counter.sample(1000, t0));
  EXPECT_DOUBLE_EQ(*counter.sample(3000, t0 + 2s), 1000.0);
  // The span keeps its start: the rate is over everything since the first reading.
  EXPECT_DOUBLE_EQ(*counter.sample(7000, t0 + 4s), 1500.0);
}

TEST(RateCounter, GoingBackwardsRestartsTheSpan) {
  RateCounter counter;
  counter.update(5000, t0);
  counter.update(9000, t0 + 1s);
  EXPECT_FALSE(counter.sample(100, t0 + 2s));
  EXPECT_EQ(counter.rn0, 100U);
  EXPECT_EQ(counter.rd1, RateCounter::Date{});
  EXPECT_DOUBLE_EQ(*counter.sample(600, t0 + 3s), 500.0);
}

TEST(RateCounter, NoRateWithoutElapsedTime) {
  RateCounter counter;
  counter.update(1, t0);
  EXPECT_FALSE(counter.sample(5, t0));
  counter.reset();
  EXPECT_FALSE(counter.read());
  EXPECT_EQ(counter.rd0, RateCounter::Date{});
}

TEST(ValueCounter, AveragesWhatItHolds) {
  ValueCounter counter(10);
  EXPECT_FALSE(counter.read());
  counter.append(1, t0);
  counter.append(2, t0 + 1s);
  counter.append(6, t0 + 2s);
  const auto sample = counter.read();
  ASSERT_TRUE(sample);
  EXPECT_DOUBLE_EQ(sample->mean, 3.0);
  EXPECT_EQ(sample->from, t0);
  EXPECT_EQ(sample->to, t0 + 2s);
}

TEST(ValueCounter, ReachingCapacityFoldsIntoOneAveragedReading) {
  ValueCounter counter(3);
  counter.append(3, t0);
  counter.append(6, t0 + 1s);
  EXPECT_EQ(counter.readings().size(), 2U);
  counter.append(9, t0 + 2s);
  ASSERT_EQ(counter.readings().size(), 1U);
  EXPECT_DOUBLE_EQ(counter.readings()[0].value, 6.0);
  counter.append(10, t0 + 3s);
  EXPECT_DOUBLE_EQ(counter.read()->mean, 8.0);
  for (int i = 0; i < 100; ++i) counter.append(1, t0 + 4s);
  EXPECT_LT(counter.readings().size(), 3U);
}

}  // namespace
}  // namespace sondrel
