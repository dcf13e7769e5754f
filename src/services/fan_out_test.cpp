#include "services/fan_out.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <map>
#include <string>

namespace sondrel {
namespace {

using namespace std::chrono_literals;

TEST(FanOut, GathersWhatTheCallerAndEveryQueryPublished) {
  ConcurrentQueue queue(4);
  FanOut results(queue, std::map<int, std::string>{{0, "known"}});
  results.publish([](auto& found) { found.emplace(1, "from the caller"); });
  for (int key = 2; key < 10; ++key) {
    results.async([key](const auto& publish) { publish([&](auto& found) { found.emplace(key, "queried"); }); });
  }
  const auto found = results.waitFor(5s);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->size(), 10u);
  EXPECT_EQ(found->at(0), "known");
  EXPECT_EQ(found->at(1), "from the caller");
  EXPECT_EQ(found->at(9), "queried");
}

TEST(FanOut, AQueryThatOutlivesTheWaitStillPublishesSafely) {
  ConcurrentQueue queue(2);
  std::promise<void> release;
  std::promise<void> published;
  {
    FanOut<std::string> results(queue);
    results.async([gate = release.get_future().share(), &published](const auto& publish) {
      gate.wait();
      publish([](std::string& value) { value.assign(1000, 'x'); });
      published.set_value();
    });
    EXPECT_FALSE(results.waitFor(10ms));
  }
  // The fan-out is gone; the late query writes into the memory it shares
  // (the sanitizer builds would catch a write into freed memory).
  release.set_value();
  EXPECT_EQ(published.get_future().wait_for(5s), std::future_status::ready);
}

}  // namespace
}  // namespace sondrel
