#include "session/linux/proc_files.h"

#include <gtest/gtest.h>

namespace sondrel::linux_proc {
namespace {

using namespace std::string_literals;

TEST(ProcStat, FieldsCountFromTheLastParenthesis) {
  const auto plain = parseStat("4242 (bash) S 300 4242 300 34816 4242 4194560 1 2 3 4\n");
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->ppid, 300u);
  EXPECT_EQ(plain->session, 300u);
  // A command name may hold spaces and parentheses of its own.
  const auto tricky = parseStat("77 (a) S 1 (x) R 12 77 55 0 -1\n");
  ASSERT_TRUE(tricky);
  EXPECT_EQ(tricky->ppid, 12u);
  EXPECT_EQ(tricky->session, 55u);
  EXPECT_FALSE(parseStat("77 (truncated"));
  EXPECT_FALSE(parseStat("77 (x) S"));
}

TEST(ProcStatus, UidLineGivesRealAndEffective) {
  const auto ids = parseStatusUids("Name:\tsudo\nUmask:\t0022\nUid:\t1000\t0\t0\t0\nGid:\t1000\t1000\t1000\t1000\n");
  ASSERT_TRUE(ids);
  EXPECT_EQ(ids->realUid, 1000u);
  EXPECT_EQ(ids->effectiveUid, 0u);
  EXPECT_FALSE(parseStatusUids("Name:\tx\n"));
  EXPECT_FALSE(parseStatusUids("Uid:\tabc\n"));
}

TEST(ProcCmdline, EmptyArgumentsAreKept) {
  EXPECT_EQ(splitCmdline("ls\0-la\0\0/tmp\0"s), (std::vector<std::string>{"ls", "-la", "", "/tmp"}));
  EXPECT_EQ(splitCmdline("nginx: worker process"s), (std::vector<std::string>{"nginx: worker process"}));
  EXPECT_TRUE(splitCmdline("").empty());
}

}  // namespace
}  // namespace sondrel::linux_proc
