#include "session/audit_process_tracker.h"

#include <gtest/gtest.h>

#include "test_support/bsm_builder.h"
#include "test_support/fake_process_table.h"
#include "test_support/log_capture.h"

namespace sondrel {
namespace {

using testing::BsmRecordBuilder;
using testing::FakeProcessTable;

class AuditProcessTrackerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    table.add(1, {{0, 0, 0, 0}, "/sbin/launchd", {}});
    table.add(300, {{1, 501, 501, 100007}, "/Applications/Terminal.app/Contents/MacOS/Terminal", {}});
    table.add(5000, {{300, 501, 501, 100007}, "/bin/zsh", {"-zsh"}});
  }
  std::optional<ProcessChange> handle(const std::vector<uint8_t>& record) { return tracker.handleRecord(record); }

  FakeProcessTable table;
  AuditProcessTracker tracker{table};
};

TEST_F(AuditProcessTrackerTest, PosixSpawnWithArgumentFirstNamesChildAndParent) {
  table.add(5001, {{5000, 501, 501, 100007}, "/usr/bin/clang", {}});
  const auto change = handle(BsmRecordBuilder(43190)
                                 .arg32(0, 5001, "child PID")
                                 .execArgs({"/usr/bin/clang", "-c", "main.c"})
                                 .path("/usr/bin/clang")
                                 .subject32(5000)
                                 .return32(0, 0)
                                 .identity("com.apple.clang", "")
                                 .build());
  ASSERT_TRUE(change);
  EXPECT_EQ(change->kind, ProcessChange::started);
  EXPECT_EQ(change->process.type, 43190);
  EXPECT_EQ(change->process.pid, 5001u);
  EXPECT_EQ(change->process.ppid, 5000u);
  EXPECT_EQ(change->process.uid, 501u);
  EXPECT_EQ(change->process.sid, 100007u);
  EXPECT_EQ(change->process.arguments, (std::vector<std::string>{"/usr/bin/clang", "-c", "main.c"}));
}

TEST_F(AuditProcessTrackerTest, ExecAfterForkOfTheSamePidTakesTheForksParent) {
  // The child is already gone when its records are read: only the fork knows its parent.
  const auto fork = handle(BsmRecordBuilder(2).arg32(0, 4243, "child PID").subject32(5000).return32(0, 4243).build());
  ASSERT_TRUE(fork);
  EXPECT_EQ(fork->process.pid, 4243u);
  EXPECT_EQ(fork->process.ppid, 5000u);

  const auto exec = handle(BsmRecordBuilder(23)
                               .execArgs({"/bin/ls", "-la", "", "/tmp"})
                               .path("/bin/ls")
                               .attr32()
                               .subject32(4243)
                               .return32(0, 0)
                               .identity("com.apple.ls", "")
                               .build());
  ASSERT_TRUE(exec);
  EXPECT_EQ(exec->process.pid, 4243u);
  EXPECT_EQ(exec->process.ppid, 5000u);
  EXPECT_EQ(exec->process.path, "/bin/ls");

  // Another pid does not borrow that parent.
  const auto other = handle(BsmRecordBuilder(23).path("/bin/cat").subject32(4999).return32(0, 0).build());
  ASSERT_TRUE(other);
  EXPECT_EQ(other->process.ppid, kUnsetId);
}

TEST_F(AuditProcessTrackerTest, ForkTakesThePathOfTheChildFromTheTable) {
  table.add(7001, {{5000, 501, 501, 100007}, "/bin/zsh", {}});
  const auto fork = handle(BsmRecordBuilder(2).arg32(0, 7001, "child PID").subject32(5000).return32(0, 7001).build());
  ASSERT_TRUE(fork);
  EXPECT_EQ(fork->process.path, "/bin/zsh");
}

TEST_F(AuditProcessTrackerTest, DevicePathsGiveWayToTheFirstArgument) {
  const auto script = handle(BsmRecordBuilder(23)
                                 .execArgs({"/bin/sh", "/dev/fd/3"})
                                 .path("/dev/fd/3")
                                 .subject32(6100)
                                 .return32(0, 0)
                                 .build());
  ASSERT_TRUE(script);
  EXPECT_EQ(script->process.path, "/bin/sh");

  // The live table wins over the record's path when it knows the process.
  table.add(6200, {{5000, 501, 501, 100007}, "/usr/local/bin/tool", {}});
  const auto live = handle(BsmRecordBuilder(23).execArgs({"tool"}).path("/tmp/tool").subject32(6200).return32(0, 0).build());
  ASSERT_TRUE(live);
  EXPECT_EQ(live->process.path, "/usr/local/bin/tool");
  EXPECT_EQ(live->process.ppid, 5000u);
}

TEST_F(AuditProcessTrackerTest, OtherEventTypesAreSkippedWhole) {
  EXPECT_FALSE(handle(BsmRecordBuilder(73).arg32(2, 513, "flags").path("/etc/passwd").subject32(5000).return32(0, 3).build()));
  EXPECT_FALSE(handle(BsmRecordBuilder(45023).subject32(377, 0, 0, 0).text("Verify password").return32(255, 5000).build()));
  // A skipped fork-like record must not become the remembered fork either.
  const auto exec = handle(BsmRecordBuilder(23).path("/bin/ls").subject32(4243).return32(0, 0).build());
  ASSERT_TRUE(exec);
  EXPECT_EQ(exec->process.ppid, kUnsetId);
}

TEST_F(AuditProcessTrackerTest, ExitRecordsEndTheProcessWithItsStatus) {
  const auto exit = handle(BsmRecordBuilder(1, 0x15).exit(3).subject32(7001).return32(0, 0).identity("com.apple.open", "").build());
  ASSERT_TRUE(exit);
  EXPECT_EQ(exit->kind, ProcessChange::ended);
  EXPECT_EQ(exit->process.pid, 7001u);
  EXPECT_EQ(exit->process.exit, 3u);
  EXPECT_EQ(exit->process.type, 1);
}

TEST_F(AuditProcessTrackerTest, MalformedRecordIsDroppedAndTheNextOneRead) {
  testing::LogCapture logs;
  EXPECT_FALSE(handle(BsmRecordBuilder(23).bytes({0x23, 0x40, 0x00, '/'}).subject32(1).build()));
  EXPECT_EQ(tracker.malformedRecords(), 1u);
  EXPECT_TRUE(logs.containsPrefix("Dropped a malformed audit record"));
  EXPECT_TRUE(handle(BsmRecordBuilder(1).exit(0).subject32(4243).return32(0, 0).build()));
}

}  // namespace
}  // namespace sondrel
