// The process-event rules on a recorded macOS trail: every process is gone by
// now, so parents and paths come from the records alone.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "session/audit_process_tracker.h"
#include "session/bsm_reader.h"
#include "test_support/fake_process_table.h"

namespace sondrel {
namespace {

TEST(ProcessTrailCorpus, SmallTrailGivesTheStartsAndExitsItRecords) {
  const std::string path = std::string(SONDREL_CORPUS_DIR) + "/bsm/trail-small.bsm";
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "no corpus at " << path;
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  const std::string bytes = text.str();

  testing::FakeProcessTable gone;
  AuditProcessTracker tracker(gone);
  std::vector<ProcessChange> changes;
  bsm::forEachRecord(std::span(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()),
                     [&](size_t, std::span<const uint8_t> record) {
                       if (auto change = tracker.handleRecord(record)) changes.push_back(std::move(*change));
                     });
  EXPECT_EQ(tracker.malformedRecords(), 0u);

  auto find = [&](uint16_t type, uint32_t pid) -> const Process* {
    for (const auto& change : changes) {
      if (change.process.type == type && change.process.pid == pid) return &change.process;
    }
    return nullptr;
  };
  // fork 4242 -> 4243, then 4243 execs /bin/ls (parent from the fork), then exits.
  const Process* fork = find(2, 4243);
  ASSERT_NE(fork, nullptr);
  EXPECT_EQ(fork->ppid, 4242u);
  const Process* ls = find(23, 4243);
  ASSERT_NE(ls, nullptr);
  EXPECT_EQ(ls->ppid, 4242u);
  EXPECT_EQ(ls->path, "/bin/ls");
  EXPECT_EQ(ls->arguments, (std::vector<std::string>{"/bin/ls", "-la", "", "/tmp"}));
  const Process* exit = find(1, 4243);
  ASSERT_NE(exit, nullptr);
  EXPECT_EQ(exit->exit, 0u);

  // posix_spawn with the child's pid before the subject: 5000 spawned 5001.
  const Process* clang = find(43190, 5001);
  ASSERT_NE(clang, nullptr);
  EXPECT_EQ(clang->ppid, 5000u);
  EXPECT_EQ(clang->arguments.size(), 6u);

  // An exit through an IPv6 host header carries its status.
  const Process* open = find(1, 7001);
  ASSERT_NE(open, nullptr);
  EXPECT_EQ(open->exit, 3u);

  // Login, authentication, file and socket records give nothing.
  for (const auto& change : changes) EXPECT_TRUE(AuditProcessTracker::shouldProcessRecord(change.process.type));
  EXPECT_EQ(find(45023, 377), nullptr);
}

}  // namespace
}  // namespace sondrel
