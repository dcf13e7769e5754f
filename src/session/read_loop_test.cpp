#include "session/read_loop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "frame/owned.h"

namespace sondrel {
namespace {

using namespace std::chrono_literals;

class ReadLoopTest : public ::testing::Test {
 protected:
  void SetUp() override {
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    readEnd.reset(fds[0]);
    writeEnd.reset(fds[1]);
  }
  bool drainOne() {
    char byte;
    return ::read(readEnd.get(), &byte, 1) == 1;
  }
  void waitUntil(const std::atomic<int>& value, int expected) {
    for (int i = 0; i < 1000 && value.load() < expected; ++i) std::this_thread::sleep_for(5ms);
  }
  UniqueFd readEnd, writeEnd;
};

TEST_F(ReadLoopTest, StopWakesALoopThatWaitsForData) {
  ReadLoop loop("test loop");
  std::atomic<int> reads{0};
  ASSERT_TRUE(loop.start(readEnd.get(), [&] {
    ++reads;
    return drainOne();
  }));
  ASSERT_EQ(::write(writeEnd.get(), "x", 1), 1);
  waitUntil(reads, 1);
  EXPECT_EQ(reads.load(), 1);
  const auto before = std::chrono::steady_clock::now();
  loop.stop();
  EXPECT_LT(std::chrono::steady_clock::now() - before, 1s);
  ASSERT_EQ(::write(writeEnd.get(), "y", 1), 1);
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(reads.load(), 1);
}

TEST_F(ReadLoopTest, StopFromInsideTheHandlerEndsTheLoopAfterIt) {
  ReadLoop loop("test loop");
  std::atomic<int> reads{0};
  ASSERT_TRUE(loop.start(readEnd.get(), [&] {
    ++reads;
    drainOne();
    loop.stop();
    return true;
  }));
  ASSERT_EQ(::write(writeEnd.get(), "ab", 2), 2);
  waitUntil(reads, 1);
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(reads.load(), 1);
  loop.stop();
}

TEST_F(ReadLoopTest, HandlerReturningFalseEndsTheLoop) {
  ReadLoop loop("test loop");
  std::atomic<int> reads{0};
  ASSERT_TRUE(loop.start(readEnd.get(), [&] {
    ++reads;
    return false;
  }));
  writeEnd.reset();  // hang-up counts as readable
  waitUntil(reads, 1);
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(reads.load(), 1);
  loop.stop();
}

}  // namespace
}  // namespace sondrel
