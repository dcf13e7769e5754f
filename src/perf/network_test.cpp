#include <gtest/gtest.h>
#include <net/if.h>

#include <map>

#include "perf/net_stats_utils.h"
#include "perf/network_perf_info.h"
#include "test_support/log_capture.h"

namespace sondrel {
namespace {

constexpr unsigned kUpRunning = IFF_UP | IFF_RUNNING;

TEST(ActiveInterfaces, KeepsUpRunningNonLoopbackEntriesWithCounters) {
  const std::vector<LinkEntry> entries{
      {"lo", kUpRunning | IFF_LOOPBACK, true, "00:00:00:00:00:00", 1, 1},
      {"en0", kUpRunning | IFF_BROADCAST, true, "aa:bb:cc:dd:ee:ff", 3, 4},
      {"en1", IFF_UP, true, "11:22:33:44:55:66", 5, 6},
      {"tun0", kUpRunning, false, "00:00:00:00:00:00", 0, 0},
      {"en2", kUpRunning, true, "00:00:00:00:00:00", 7, 8},
  };
  const auto kept = activeInterfaces(entries);
  ASSERT_EQ(kept.size(), 2U);
  EXPECT_EQ(kept[0].interfaceName, "en0");
  EXPECT_EQ(kept[0].macAddress, "aa:bb:cc:dd:ee:ff");
  EXPECT_EQ(kept[0].inErrors, 3U);
  EXPECT_EQ(kept[1].outErrors, 8U);
}

TEST(ActiveInterfaces, OnlyLoopbackUpGivesAnEmptyList) {
  const std::vector<LinkEntry> entries{{"lo", kUpRunning | IFF_LOOPBACK, true, "", 9, 9}};
  EXPECT_TRUE(activeInterfaces(entries).empty());
}

TEST(FormatMacAddress, HexPairsOrTheUnknownAddress) {
  const uint8_t bytes[] = {0x00, 0x1c, 0x42, 0xaf, 0x0b, 0xe1};
  EXPECT_EQ(formatMacAddress(bytes), "00:1c:42:af:0b:e1");
  EXPECT_EQ(formatMacAddress({}), "00:00:00:00:00:00");
  EXPECT_EQ(NetworkPerfInfoProvider::macAddress(nullptr), "00:00:00:00:00:00");
}

struct FakeMib : IInterfaceMib {
  std::optional<uint32_t> count = 3;
  std::map<uint32_t, InterfaceMibRow> rows;
  int sweeps = 0;
  std::optional<uint32_t> interfaceCount() override {
    ++sweeps;
    return count;
  }
  std::optional<InterfaceMibRow> row(uint32_t row) override {
    auto found = rows.find(row);
    if (found == rows.end()) return std::nullopt;
    return found->second;
  }
};

class NetStatsUtilsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto owned = std::make_unique<FakeMib>();
    mib = owned.get();
    mib->rows[1] = {"en0", 1000000000, 10, 20};
    mib->rows[3] = {"en1", 100000000, 30, 40};
    utils = std::make_unique<NetStatsUtils>(std::move(owned));
  }
  FakeMib* mib = nullptr;
  std::unique_ptr<NetStatsUtils> utils;
  testing::LogCapture logs;
};

TEST_F(NetStatsUtilsTest, AFailedRowIsSkippedAndTheOthersAreCached) {
  utils->refreshStatsCache();
  EXPECT_EQ(utils->propCache.size(), 2U);
  EXPECT_TRUE(logs.contains("Error: Failed to get interface data of row 2"));
  const auto prop = utils->getStatsProp("en1");
  ASSERT_TRUE(prop);
  EXPECT_EQ(prop->rxLinkRate, 100000000U);
  EXPECT_EQ(prop->txLinkRate, 100000000U);
  EXPECT_EQ(prop->ibytes, 30U);
  EXPECT_EQ(prop->obytes, 40U);
}

TEST_F(NetStatsUtilsTest, EachReadingIsHandedOutOnce) {
  ASSERT_TRUE(utils->getStatsProp("en0"));
  EXPECT_EQ(mib->sweeps, 1);
  mib->rows[1].ibytes = 99;
  const auto second = utils->getStatsProp("en0");
  ASSERT_TRUE(second);
  EXPECT_EQ(mib->sweeps, 2);
  EXPECT_EQ(second->ibytes, 99U);
  // en1 came with the second sweep and is answered from the cache.
  ASSERT_TRUE(utils->getStatsProp("en1"));
  EXPECT_EQ(mib->sweeps, 2);
}

TEST_F(NetStatsUtilsTest, UnknownInterfaceOrFailedCountGiveNothing) {
  EXPECT_FALSE(utils->getStatsProp("wlan9"));
  EXPECT_EQ(utils->propCache.size(), 2U);  // the sweep for wlan9 is kept for the others
  mib->count.reset();
  utils->refreshStatsCache();
  EXPECT_FALSE(utils->getStatsProp("en0"));
  EXPECT_TRUE(utils->propCache.empty());
  EXPECT_TRUE(logs.contains("Error: Failed to get interface count"));
}

}  // namespace
}  // namespace sondrel
