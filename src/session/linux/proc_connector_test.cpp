#include "session/linux/proc_connector.h"

#include <gtest/gtest.h>
#include <linux/cn_proc.h>
#include <linux/connector.h>
#include <linux/netlink.h>
#include <signal.h>

#include <cstring>

#include "test_support/fake_process_table.h"

namespace sondrel::linux_proc {
namespace {

using testing::FakeProcessTable;

// One netlink message as the kernel sends it for a process event.
std::vector<uint8_t> message(const proc_event& event, uint32_t idx = CN_IDX_PROC) {
  const size_t length = NLMSG_LENGTH(sizeof(cn_msg) + sizeof(proc_event));
  std::vector<uint8_t> bytes(NLMSG_ALIGN(length), 0);
  nlmsghdr header{};
  header.nlmsg_len = static_cast<uint32_t>(length);
  header.nlmsg_type = NLMSG_DONE;
  cn_msg connector{};
  connector.id.idx = idx;
  connector.id.val = CN_VAL_PROC;
  connector.len = sizeof(proc_event);
  std::memcpy(bytes.data(), &header, sizeof header);
  std::memcpy(bytes.data() + NLMSG_HDRLEN, &connector, sizeof connector);
  std::memcpy(bytes.data() + NLMSG_HDRLEN + sizeof connector, &event, sizeof event);
  return bytes;
}

proc_event forkEvent(int parent, int child, int childTgid) {
  proc_event event{};
  event.what = proc_event::PROC_EVENT_FORK;
  event.event_data.fork.parent_pid = parent;
  event.event_data.fork.parent_tgid = parent;
  event.event_data.fork.child_pid = child;
  event.event_data.fork.child_tgid = childTgid;
  return event;
}

proc_event execEvent(int pid) {
  proc_event event{};
  event.what = proc_event::PROC_EVENT_EXEC;
  event.event_data.exec.process_pid = pid;
  event.event_data.exec.process_tgid = pid;
  return event;
}

proc_event exitEvent(int pid, uint32_t waitStatus, int parent) {
  proc_event event{};
  event.what = proc_event::PROC_EVENT_EXIT;
  event.event_data.exit.process_pid = pid;
  event.event_data.exit.process_tgid = pid;
  event.event_data.exit.exit_code = waitStatus;
  event.event_data.exit.parent_pid = parent;
  event.event_data.exit.parent_tgid = parent;
  return event;
}

TEST(ProcConnectorDatagram, ForkExecAndExitAreReadOthersLeftOut) {
  proc_event uidChange{};
  uidChange.what = proc_event::PROC_EVENT_UID;
  std::vector<uint8_t> datagram;
  for (const auto& part : {message(forkEvent(10, 11, 11)), message(uidChange), message(execEvent(11)),
                           message(execEvent(12), CN_IDX_PROC + 1), message(exitEvent(11, 3 << 8, 10))}) {
    datagram.insert(datagram.end(), part.begin(), part.end());
  }
  const auto events = parseConnectorDatagram(datagram);
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].kind, ConnectorEvent::fork);
  EXPECT_EQ(events[0].tgid, 11u);
  EXPECT_EQ(events[0].parentTgid, 10u);
  EXPECT_EQ(events[1].kind, ConnectorEvent::exec);
  EXPECT_EQ(events[2].kind, ConnectorEvent::exit);
  EXPECT_EQ(events[2].exitCode, 3u << 8);

  // A length that reaches past the datagram ends the walk instead of reading beyond it.
  auto truncated = message(execEvent(13));
  truncated.resize(truncated.size() - 8);
  EXPECT_TRUE(parseConnectorDatagram(truncated).empty());
}

TEST(ProcConnectorDatagram, WaitStatusesReadAsAShellWould) {
  EXPECT_EQ(exitStatusFromWaitStatus(0), 0u);
  EXPECT_EQ(exitStatusFromWaitStatus(3 << 8), 3u);
  EXPECT_EQ(exitStatusFromWaitStatus(SIGKILL), 128u + SIGKILL);
}

class ConnectorTrackerTest : public ::testing::Test {
 protected:
  ConnectorEvent event(ConnectorEvent::Kind kind, uint32_t pid, uint32_t parent = 0, uint32_t tgid = 0) {
    ConnectorEvent e;
    e.kind = kind;
    e.pid = pid;
    e.tgid = tgid ? tgid : pid;
    e.parentPid = parent;
    e.parentTgid = parent;
    return e;
  }
  FakeProcessTable table;
  ConnectorTracker tracker{table};
};

TEST_F(ConnectorTrackerTest, ExecIsCompletedFromTheTable) {
  table.add(200, {{100, 1000, 1001, 42}, "/usr/bin/make", {"make", "-j2"}});
  const auto change = tracker.handleEvent(event(ConnectorEvent::exec, 200));
  ASSERT_TRUE(change);
  EXPECT_EQ(change->kind, ProcessChange::started);
  EXPECT_FALSE(change->detailsGone);
  EXPECT_EQ(change->process.type, 23);
  EXPECT_EQ(change->process.ppid, 100u);
  EXPECT_EQ(change->process.uid, 1000u);
  EXPECT_EQ(change->process.ruid, 1001u);
  EXPECT_EQ(change->process.sid, 42u);
  EXPECT_EQ(change->process.path, "/usr/bin/make");
  EXPECT_EQ(change->process.arguments, (std::vector<std::string>{"make", "-j2"}));
}

TEST_F(ConnectorTrackerTest, GoneProcessesAreReportedWithWhatTheEventsCarried) {
  table.add(100, {{1, 0, 0, 7}, "/bin/bash", {"bash"}});
  // The fork's child is gone already: it ran its parent's image.
  const auto fork = tracker.handleEvent(event(ConnectorEvent::fork, 300, 100));
  ASSERT_TRUE(fork);
  EXPECT_EQ(fork->process.type, 2);
  EXPECT_EQ(fork->process.ppid, 100u);
  EXPECT_EQ(fork->process.path, "/bin/bash");
  // Its exec is gone too: only the parent from the fork is known.
  const auto exec = tracker.handleEvent(event(ConnectorEvent::exec, 300));
  ASSERT_TRUE(exec);
  EXPECT_TRUE(exec->detailsGone);
  EXPECT_EQ(exec->process.ppid, 100u);
  EXPECT_TRUE(exec->process.path.empty());

  auto exit = event(ConnectorEvent::exit, 300, 100);
  exit.exitCode = SIGTERM;
  const auto ended = tracker.handleEvent(exit);
  ASSERT_TRUE(ended);
  EXPECT_EQ(ended->kind, ProcessChange::ended);
  EXPECT_EQ(ended->process.type, 1);
  EXPECT_EQ(ended->process.exit, 128u + SIGTERM);
  EXPECT_EQ(ended->process.ppid, 100u);
}

TEST_F(ConnectorTrackerTest, ThreadsAreNotProcesses) {
  EXPECT_FALSE(tracker.handleEvent(event(ConnectorEvent::fork, 301, 100, 100)));
  EXPECT_FALSE(tracker.handleEvent(event(ConnectorEvent::exit, 301, 100, 100)));
}

}  // namespace
}  // namespace sondrel::linux_proc
