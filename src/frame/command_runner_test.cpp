#include "frame/command_runner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <mutex>

#include "test_support/log_capture.h"

namespace sondrel {
namespace {

using namespace std::chrono_literals;

TEST(CommandRunner, CollectsMegabytesWrittenToBothStreamsAtOnce) {
  // Each stream alone overfills a pipe many times: reading one after the other would deadlock.
  CommandRunner runner;
  ASSERT_TRUE(runner.runWithCommand(
      "/bin/sh", std::vector<std::string>{"-c",
                                          "head -c 3000000 /dev/zero | tr '\\0' o & "
                                          "head -c 2000000 /dev/zero | tr '\\0' e >&2; wait"}));
  ASSERT_TRUE(runner.stdOut().has_value());
  ASSERT_TRUE(runner.stdErr().has_value());
  EXPECT_EQ(runner.stdOut()->size(), 3000000u);
  EXPECT_EQ(runner.stdErr()->size(), 2000000u);
  EXPECT_EQ(runner.stdOut()->find_first_not_of('o'), std::string::npos);
  EXPECT_EQ(runner.stdErr()->find_first_not_of('e'), std::string::npos);
  EXPECT_EQ(runner.exitCode(), 0);
  EXPECT_TRUE(runner.exited());
}

TEST(CommandRunner, NonZeroExitIsAResultNotAFailure) {
  CommandRunner runner("/bin/sh", {"-c", "echo partial; exit 3"});
  EXPECT_TRUE(runner.run());
  EXPECT_EQ(runner.exitCode(), 3);
  EXPECT_EQ(runner.stdOut(), "partial\n");
  EXPECT_EQ(runner.stdErr(), "");
}

TEST(CommandRunner, MissingExecutableFailsWithTheLaunchLine) {
  testing::LogCapture logs;
  CommandRunner runner("/nonexistent/tool", {});
  EXPECT_FALSE(runner.run());
  EXPECT_FALSE(runner.exited());
  EXPECT_FALSE(runner.exitCode().has_value());
  EXPECT_TRUE(runner.error().has_value());
  EXPECT_TRUE(logs.contains("Could not launch /nonexistent/tool. Error: No such file or directory"));
  ASSERT_FALSE(logs.lines().empty());
  EXPECT_EQ(logs.lines().back().level, 4u);
}

// A failed launch leaves the runner prepared: the next one-shot runs, and is
// not refused with the earlier reason.
TEST(CommandRunner, OneShotAfterAFailedLaunchRuns) {
  CommandRunner runner;
  EXPECT_FALSE(runner.runWithCommand("/nonexistent/tool", std::nullopt));
  ASSERT_TRUE(runner.runWithCommand("/bin/sh", std::vector<std::string>{"-c", "echo again"}));
  EXPECT_EQ(runner.stdOut(), "again\n");
  EXPECT_EQ(runner.exitCode(), 0);
}

TEST(CommandRunner, OneShotWithoutArgumentsRunsTheBareProgram) {
  CommandRunner runner;
  ASSERT_TRUE(runner.runWithCommand("/bin/pwd", std::nullopt));
  EXPECT_EQ(runner.name(), "/bin/pwd");
  EXPECT_FALSE(runner.stdOut().value_or("").empty());
}

TEST(CommandRunner, OutputCallbacksReceiveTheBytesAndLeaveTheBuffersUnset) {
  std::mutex mutex;
  std::string out;
  std::string err;
  int exits = 0;
  CommandRunner runner(
      "/bin/sh", {"-c", "printf hello; printf oops >&2; printf ' world'"},
      [&](std::string_view chunk) {
        std::lock_guard lock(mutex);
        out.append(chunk);
      },
      [&](std::string_view chunk) {
        std::lock_guard lock(mutex);
        err.append(chunk);
      },
      [&](ICommandRunner& ended) {
        ++exits;
        EXPECT_TRUE(ended.exited());
      });
  ASSERT_TRUE(runner.run());
  EXPECT_EQ(out, "hello world");
  EXPECT_EQ(err, "oops");
  EXPECT_FALSE(runner.stdOut().has_value());
  EXPECT_FALSE(runner.stdErr().has_value());
  runner.stop();  // after a normal end: the exit closure is not called again
  EXPECT_EQ(exits, 1);
}

TEST(CommandRunner, StopEndsASleepingChildLaunchedOnAQueue) {
  std::atomic<int> exits{0};
  SerialQueue queue("test.runner");
  CommandRunner runner("/bin/sleep", {"30"}, nullptr, nullptr, [&](ICommandRunner&) { exits.fetch_add(1); });
  ASSERT_TRUE(runner.runInQueue(queue));
  const auto asked = std::chrono::steady_clock::now();
  runner.stop();
  EXPECT_LT(std::chrono::steady_clock::now() - asked, 5s);
  EXPECT_TRUE(runner.exited());
  EXPECT_EQ(runner.exitCode(), SIGTERM);
  queue.sync([] {});  // the queue's own wait for the exit has finished too
  EXPECT_EQ(exits.load(), 1);
}

TEST(CommandRunner, ChildSeesOnlyTheStandardDescriptors) {
  if (access("/proc/self/fd", F_OK) != 0) GTEST_SKIP() << "no /proc to look at descriptors";
  const int leaked = ::open("/dev/null", O_RDONLY);  // deliberately not close-on-exec
  ASSERT_GE(leaked, 0);
  ASSERT_EQ(::dup2(leaked, 57), 57);
  CommandRunner runner("/bin/sh", {"-c", "[ -e /proc/self/fd/57 ] && echo open || echo closed"});
  ASSERT_TRUE(runner.run());
  ::close(57);
  ::close(leaked);
  EXPECT_EQ(runner.stdOut(), "closed\n");
}

TEST(CommandRunner, DestroyingARunnerTerminatesAndReapsItsChild) {
  std::mutex mutex;
  std::string out;
  SerialQueue queue("test.reap");
  {
    CommandRunner runner(
        "/bin/sh", {"-c", "echo $$; exec sleep 30"},
        [&](std::string_view chunk) {
          std::lock_guard lock(mutex);
          out.append(chunk);
        },
        nullptr, nullptr);
    ASSERT_TRUE(runner.runInQueue(queue));
    for (int i = 0; i < 500; ++i) {
      {
        std::lock_guard lock(mutex);
        if (out.find('\n') != std::string::npos) break;
      }
      std::this_thread::sleep_for(10ms);
    }
  }
  std::lock_guard lock(mutex);
  const pid_t child = static_cast<pid_t>(std::stol(out));
  EXPECT_EQ(::kill(child, 0), -1);
  EXPECT_EQ(errno, ESRCH) << "the child is neither running nor a zombie";
}

}  // namespace
}  // namespace sondrel
