// Process events from this machine's kernel: short processes started here
// must each be reported, with path, arguments and parent, and so must their exits.

#include <gtest/gtest.h>
#include <linux/connector.h>
#include <linux/netlink.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "sondrel/sondrel.h"

extern char** environ;

namespace {

using namespace std::chrono_literals;

struct Seen {
  std::string path;
  std::vector<std::string> argv;
  uint32_t ppid = 0;
  bool started = false;
  bool ended = false;
  uint32_t exitStatus = 0;
};

std::mutex seenMutex;
std::condition_variable seenChanged;
std::map<uint32_t, Seen> seen;  // by pid, children of this test only

void onProcessEvent(process_event_t* event) {
  if (event->ppid != static_cast<uint32_t>(::getpid())) return;
  std::lock_guard lock(seenMutex);
  Seen& entry = seen[event->pid];
  if (event->eventType == PE_PROCESS_STARTED && event->auditEventType == 23) {
    entry.started = true;
    entry.ppid = event->ppid;
    entry.path = event->path ? event->path : "";
    entry.argv.clear();
    for (uint32_t i = 0; i < event->argc; ++i) entry.argv.emplace_back(event->argv[i] ? event->argv[i] : "");
  } else if (event->eventType == PE_PROCESS_ENDED) {
    entry.ended = true;
    entry.exitStatus = event->exitStatus;
  }
  seenChanged.notify_all();
}

// The process connector is root's; without it there is nothing to test here.
std::string connectorUnavailableReason() {
  const int fd = ::socket(PF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_CONNECTOR);
  if (fd < 0) return std::string("netlink connector socket: ") + std::strerror(errno);
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = CN_IDX_PROC;
  const bool bound = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  const std::string reason = bound ? "" : std::string("binding the process connector: ") + std::strerror(errno);
  ::close(fd);
  return reason;
}

TEST(ProcessEventsLive, TwoHundredShortProcessesAreEachReportedWithTheirExit) {
  if (const auto reason = connectorUnavailableReason(); !reason.empty()) GTEST_SKIP() << reason;
  char resolved[PATH_MAX];
  ASSERT_NE(::realpath("/bin/sleep", resolved), nullptr);
  const std::string sleepPath = resolved;

  registerProcessEventsCallback(onProcessEvent);
  constexpr int kProcesses = 200;
  std::map<uint32_t, std::vector<std::string>> expected;
  std::vector<pid_t> children;
  for (int i = 0; i < kProcesses; ++i) {
    // sleep adds up its arguments: each child gets arguments of its own. A
    // second of life keeps each one readable in /proc while the reader works
    // through the burst, even in a sanitizer build beside other tests.
    std::vector<std::string> arguments = {"/bin/sleep", "1", "0.000" + std::to_string(100 + i)};
    std::vector<char*> argv;
    for (auto& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    pid_t child = 0;
    ASSERT_EQ(::posix_spawn(&child, "/bin/sleep", nullptr, nullptr, argv.data(), environ), 0);
    children.push_back(child);
    expected[static_cast<uint32_t>(child)] = arguments;
  }
  for (pid_t child : children) {
    int status = 0;
    ::waitpid(child, &status, 0);
  }
  {
    std::unique_lock lock(seenMutex);
    seenChanged.wait_for(lock, 20s, [&] {
      size_t complete = 0;
      for (const auto& [pid, arguments] : expected) {
        const auto found = seen.find(pid);
        if (found != seen.end() && found->second.started && found->second.ended) ++complete;
      }
      return complete == expected.size();
    });
  }
  unregisterProcessEventsCallback();

  std::lock_guard lock(seenMutex);
  size_t starts = 0, exits = 0;
  for (const auto& [pid, arguments] : expected) {
    const auto found = seen.find(pid);
    if (found == seen.end()) {
      ADD_FAILURE() << "nothing reported for pid " << pid;
      continue;
    }
    const Seen& entry = found->second;
    if (entry.started) {
      ++starts;
      EXPECT_EQ(entry.path, sleepPath) << "pid " << pid;
      EXPECT_EQ(entry.argv, arguments) << "pid " << pid;
      EXPECT_EQ(entry.ppid, static_cast<uint32_t>(::getpid()));
    }
    if (entry.ended) {
      ++exits;
      EXPECT_EQ(entry.exitStatus, 0u) << "pid " << pid;
    }
  }
  EXPECT_EQ(starts, expected.size());
  EXPECT_EQ(exits, expected.size());
}

}  // namespace
