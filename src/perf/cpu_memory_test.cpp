#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "perf/cpu_perf_info.h"
#include "perf/memory_perf_info.h"
#include "test_support/log_capture.h"

namespace sondrel {
namespace {

TEST(CPUPerfInfo, SumsEveryProcessorAndEveryState) {
  std::vector<ProcessorTicks> processors;
  for (uint64_t i = 1; i <= 8; ++i) processors.push_back({i, 10 * i, 100 * i, 1000 * i});
  const auto sum = sumProcessorTicks(processors);
  EXPECT_EQ(sum.userTime(), 36);
  EXPECT_EQ(sum.systemTime(), 360);
  EXPECT_EQ(sum.idleTime(), 3600);
  EXPECT_EQ(sum.niceTime(), 36000);
  EXPECT_EQ(sum.totalTime(), 39996.0);
}

TEST(CPUPerfInfo, OverflowWhileSummingIsFatal) {
  const uint64_t half = uint64_t{1} << 62;
  const std::vector<ProcessorTicks> processors{{half, 0, 0, 0}, {half, 0, 0, 0}};
  EXPECT_DEATH((void)sumProcessorTicks(processors), "");
  EXPECT_DEATH(CPUPerfInfo(std::numeric_limits<int64_t>::max(), 1, 0, 0), "");
  const std::vector<ProcessorTicks> huge{{std::numeric_limits<uint64_t>::max(), 0, 0, 0}};
  EXPECT_DEATH((void)sumProcessorTicks(huge), "");
}

TEST(RoundedPercent, TwoDecimalsHalfAwayFromZero) {
  EXPECT_FLOAT_EQ(roundedPercent(12345, 100000), 12.35F);
  EXPECT_FLOAT_EQ(roundedPercent(12344, 100000), 12.34F);
  EXPECT_FLOAT_EQ(roundedPercent(0, 100000), 0.0F);
  EXPECT_FLOAT_EQ(roundedPercent(100000, 100000), 100.0F);
}

// Scripts the three kernel reads and counts them.
struct FakeReader : IHostMemoryReader {
  std::optional<VmPageCounters> pages = VmPageCounters{};
  std::optional<SwapUsage> swap = SwapUsage{2048, 1024, 4096};
  std::optional<uint64_t> ram = uint64_t{100000} * 4096;
  int ramReads = 0;
  std::optional<VmPageCounters> readPageCounters() override { return pages; }
  std::optional<SwapUsage> readSwapUsage() override { return swap; }
  std::optional<uint64_t> readPhysicalMemory() override {
    ++ramReads;
    return ram;
  }
};

class MemoryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto owned = std::make_unique<FakeReader>();
    reader = owned.get();
    reader->pages->activeCount = 10000;
    reader->pages->compressorPageCount = 2000;
    reader->pages->wiredCount = 345;
    reader->pages->externalPageCount = 5000;
    hostStatistics = std::make_shared<HostStatistics>(std::move(owned));
  }
  FakeReader* reader = nullptr;
  std::shared_ptr<HostStatistics> hostStatistics;
  testing::LogCapture logs;
};

TEST_F(MemoryTest, FiguresFollowFromActiveCompressorAndWiredPages) {
  MemoryPerfInfoProvider provider(hostStatistics);
  const auto info = provider.tryGetPerfInfo();
  ASSERT_TRUE(info);
  EXPECT_EQ(info->totalPhysical, uint64_t{100000} * 4096);
  EXPECT_EQ(info->inUse, uint64_t{12345} * 4096);
  EXPECT_FLOAT_EQ(info->usagePercent, 12.35F);
  EXPECT_FLOAT_EQ(info->pageFileUsage, 5.0F);
  EXPECT_NE(info->debugDescription().find("inUse: 50565120"), std::string::npos);
}

TEST_F(MemoryTest, ZeroFileBackedPagesGiveZeroPageFileUsage) {
  reader->pages->externalPageCount = 0;
  const auto info = MemoryPerfInfoProvider(hostStatistics).tryGetPerfInfo();
  ASSERT_TRUE(info);
  EXPECT_EQ(info->pageFileUsage, 0.0F);
}

TEST_F(MemoryTest, AFailedSwapReadDropsEveryMemoryFigure) {
  reader->swap.reset();
  EXPECT_FALSE(hostStatistics->tryGetVMStatistics());
  EXPECT_FALSE(MemoryPerfInfoProvider(hostStatistics).tryGetPerfInfo());
  EXPECT_TRUE(logs.contains("Error: Could not fetch Memory perf info. Parsing virtual memory attributes failed."));
}

TEST_F(MemoryTest, PhysicalMemoryIsReadOnceAndCached) {
  ASSERT_TRUE(hostStatistics->tryGetVMStatistics());
  ASSERT_TRUE(hostStatistics->tryGetVMStatistics());
  EXPECT_EQ(reader->ramReads, 1);
  EXPECT_EQ(hostStatistics->totalRAM, uint64_t{100000} * 4096);
}

TEST_F(MemoryTest, AFailedRamReadIsRetriedNextTime) {
  reader->ram.reset();
  EXPECT_FALSE(hostStatistics->tryGetVMStatistics());
  reader->ram = 1 << 20;
  EXPECT_TRUE(hostStatistics->tryGetVMStatistics());
  EXPECT_EQ(reader->ramReads, 2);
}

TEST_F(MemoryTest, DictionaryCarriesEveryKeyUnderItsText) {
  reader->pages->swapOuts = 77;
  const auto statistics = hostStatistics->tryGetVMStatistics();
  ASSERT_TRUE(statistics);
  EXPECT_EQ(statistics->size(), 26U);
  EXPECT_EQ(statistics->at("swapOuts"), 77);
  EXPECT_EQ(statistics->at("usedSwap"), 1024);
  EXPECT_EQ(statistics->at("pageSize"), 4096);
  EXPECT_EQ(rawValue(VmStatistics::totalUnCompressedPagesInCompressor), "totalUnCompressedPagesInCompressor");
}

TEST_F(MemoryTest, ACounterBeyondSignedSixtyFourBitsIsFatal) {
  reader->pages->faults = std::numeric_limits<uint64_t>::max();
  EXPECT_DEATH((void)hostStatistics->tryGetVMStatistics(), "");
}

TEST(MemoryPerfInfoFrom, AMissingKeyGivesNothing) {
  VmStatisticsDictionary statistics{{"totalRAM", 100}, {"activeCount", 1}, {"compressorPageCount", 1},
                                    {"wiredCount", 1}, {"pageSize", 1}};
  EXPECT_FALSE(memoryPerfInfoFrom(statistics));
  statistics["externalPageCount"] = 0;
  EXPECT_TRUE(memoryPerfInfoFrom(statistics));
}

TEST(MemoryPerfInfoFrom, PageArithmeticOverflowIsFatal) {
  const VmStatisticsDictionary statistics{{"totalRAM", 100},
                                          {"activeCount", std::numeric_limits<int64_t>::max() / 2},
                                          {"compressorPageCount", 0},
                                          {"wiredCount", 0},
                                          {"externalPageCount", 0},
                                          {"pageSize", 4096}};
  EXPECT_DEATH((void)memoryPerfInfoFrom(statistics), "");
}

}  // namespace
}  // namespace sondrel
