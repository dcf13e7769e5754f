#include "frame/source_slot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "frame/event_source.h"

namespace sondrel {
namespace {

class CountingSource : public IEventSource {
 public:
  explicit CountingSource(int tag) : tag(tag) {}
  void stopListening() override { ++stops; }
  const int tag;
  int starts = 0;
  int stops = 0;
};

TEST(SourceSlot, SecondRegisterKeepsTheFirstSource) {
  SourceSlot<CountingSource> slot;
  auto start = [](CountingSource& source) { ++source.starts; };
  EXPECT_TRUE(slot.registerOnce([] { return std::make_shared<CountingSource>(1); }, start));
  EXPECT_FALSE(slot.registerOnce([] { return std::make_shared<CountingSource>(2); }, start));
  ASSERT_TRUE(slot.isSet());
  EXPECT_EQ(slot.get()->tag, 1);
  EXPECT_EQ(slot.get()->starts, 1);
}

TEST(SourceSlot, UnregisterStopsOnceAndReRegisterBuildsAFreshSource) {
  SourceSlot<CountingSource> slot;
  auto start = [](CountingSource& source) { ++source.starts; };
  slot.registerOnce([] { return std::make_shared<CountingSource>(1); }, start);
  auto first = slot.get();
  slot.unregister();
  slot.unregister();
  EXPECT_FALSE(slot.isSet());
  EXPECT_EQ(first->stops, 1);
  slot.registerOnce([] { return std::make_shared<CountingSource>(2); }, start);
  EXPECT_EQ(slot.get()->tag, 2);
}

TEST(SourceSlot, RacingRegistersBuildExactlyOneSource) {
  SourceSlot<CountingSource> slot;
  std::atomic<int> built{0};
  std::vector<std::thread> hosts;
  for (int i = 0; i < 8; ++i) {
    hosts.emplace_back([&, i] {
      slot.registerOnce(
          [&, i] {
            built.fetch_add(1);
            return std::make_shared<CountingSource>(i);
          },
          [](CountingSource&) {});
    });
  }
  for (auto& host : hosts) host.join();
  EXPECT_EQ(built.load(), 1);
}

}  // namespace
}  // namespace sondrel
