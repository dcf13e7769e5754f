#include "session/process.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "test_support/fake_process_table.h"

namespace sondrel {
namespace {

using testing::FakeProcessTable;

class ProcessTest : public ::testing::Test {
 protected:
  void SetUp() override {
    table.add(1, {{0, 0, 0, 0}, "/sbin/launchd", {"/sbin/launchd"}});
    table.add(300, {{1, 501, 501, 100007}, "/bin/zsh", {"-zsh"}});
    table.add(4242, {{300, 501, 501, 100007}, "/usr/bin/git", {"git", "status", ""}});
  }
  FakeProcessTable table;
};

TEST_F(ProcessTest, FromPidCompletesEveryPart) {
  const auto process = Process::fromPid(4242, table);
  ASSERT_TRUE(process);
  EXPECT_EQ(process->pid, 4242u);
  EXPECT_EQ(process->ppid, 300u);
  EXPECT_EQ(process->uid, 501u);
  EXPECT_EQ(process->path, "/usr/bin/git");
  EXPECT_EQ(process->arguments, (std::vector<std::string>{"git", "status", ""}));
  // Nearest first, launchd last, pid 0 never.
  EXPECT_EQ(process->ancestors, (std::vector<uint32_t>{4242, 300, 1}));
  // Not from an audit record: its own ids beyond uid stay unset.
  EXPECT_EQ(process->ruid, kUnsetId);
  EXPECT_EQ(process->exit, kUnsetId);
}

TEST_F(ProcessTest, ExitedOrPathlessProcessesGiveNothing) {
  EXPECT_FALSE(Process::fromPid(9999, table));
  table.add(77, {{1, 0, 0, 0}, "", {}});
  EXPECT_FALSE(Process::fromPid(77, table));
  EXPECT_EQ(Process::getParentID(9999, table), kUnsetId);
}

TEST_F(ProcessTest, AncestorsEndAtLaunchdAndAtCycles) {
  Process launchd;
  launchd.pid = 1;
  launchd.enumerateAncestors(table);
  EXPECT_EQ(launchd.ancestors, (std::vector<uint32_t>{1}));

  table.add(50, {{50, 0, 0, 0}, "/own/parent", {}});
  Process own;
  own.pid = 50;
  own.enumerateAncestors(table);
  EXPECT_EQ(own.ancestors, (std::vector<uint32_t>{50}));

  // A two-step loop (a table read while pids are reused) still ends.
  table.add(60, {{61, 0, 0, 0}, "/a", {}});
  table.add(61, {{60, 0, 0, 0}, "/b", {}});
  Process looping;
  looping.pid = 60;
  looping.enumerateAncestors(table);
  EXPECT_LE(looping.ancestors.size(), 4097u);
  EXPECT_EQ(looping.ancestors.front(), 60u);

  Process unset;
  unset.enumerateAncestors(table);
  EXPECT_TRUE(unset.ancestors.empty());
}

TEST_F(ProcessTest, PathLookupKeepsWhatItHadOnFailure) {
  Process process;
  process.pid = 9999;
  process.path = "/from/the/record";
  process.pathFromPid(table);
  EXPECT_EQ(process.path, "/from/the/record");
}

TEST_F(ProcessTest, DescriptionPrintsUnsetIdsAsMinusOne) {
  Process process;
  process.pid = 12;
  process.type = 23;
  process.path = "/bin/ls";
  EXPECT_EQ(process.description(), "pid: 12 p_type: 23 uid: -1 ruid: -1 sid: -1 path: /bin/ls exit: -1");
}

TEST(ProcessAlive, ReapedChildIsGoneAndOthersAreAlive) {
  Process self;
  self.pid = static_cast<uint32_t>(::getpid());
  EXPECT_TRUE(self.isProcessAlive());
  Process init;
  init.pid = 1;  // owned by root: alive even when we may not signal it
  EXPECT_TRUE(init.isProcessAlive());

  const pid_t child = ::fork();
  if (child == 0) ::_exit(0);
  ASSERT_GT(child, 0);
  ::waitpid(child, nullptr, 0);
  Process gone;
  gone.pid = static_cast<uint32_t>(child);
  EXPECT_FALSE(gone.isProcessAlive());
}

}  // namespace
}  // namespace sondrel
