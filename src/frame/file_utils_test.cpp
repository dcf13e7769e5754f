#include "frame/file_utils.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "test_support/log_capture.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

using CommonUtils::getFiles;

TEST(GetFiles, KeepsRegularFilesWithAMatchingSuffixFolderByFolder) {
  testing::TempFolder root;
  root.write("system/b.crash", "x");
  root.write("system/a.ips", "x");
  root.write("system/notes.txt", "x");
  root.write("system/.hidden.crash", "x");
  root.write("system/looks.crash/inside.crash", "a folder named like a report is not one");
  root.write("system/Retired/old.ips", "sub-folders are not entered");
  root.write("user/tips", "a plain suffix test: 'tips' ends in 'ips'");
  root.write("user/bad-\xff.ips", "a name that is not UTF-8 is not a report macOS wrote");
  ASSERT_EQ(::symlink((root / "system/a.ips").c_str(), (root / "user/link.ips").c_str()), 0);

  const auto files = getFiles({"crash", "ips"}, {root / "user", root / "missing", root / "system/"});
  const std::vector<std::string> expected = {root / "user/tips", root / "system/a.ips", root / "system/b.crash"};
  EXPECT_EQ(files, expected);
}

TEST(ReadFileCapped, RefusesLinksOversizedAndSpecialFiles) {
  testing::TempFolder root;
  testing::LogCapture logs;
  const std::string real = root.write("real.txt", "content");
  EXPECT_EQ(readFileCapped(real), "content");
  EXPECT_FALSE(readFileCapped(real, 3)) << "over the cap";

  ASSERT_EQ(::symlink(real.c_str(), (root / "link.txt").c_str()), 0);
  EXPECT_FALSE(readFileCapped(root / "link.txt")) << "a planted link is never followed";

  ASSERT_EQ(::mkfifo((root / "pipe").c_str(), 0600), 0);
  EXPECT_FALSE(readFileCapped(root / "pipe")) << "a FIFO would block the reader forever";
  EXPECT_FALSE(readFileCapped(root / "missing"));
  EXPECT_EQ(readFileCapped(root.write("empty", "")), "");
}

TEST(WriteFileAtomically, ReplacesTheWholeFileAndLeavesNoTemporaryBehind) {
  testing::TempFolder root;
  const std::string path = root / "state/cache.bin";
  std::string reason;
  ASSERT_TRUE(writeFileAtomically(path, std::string(100000, 'a'), &reason)) << reason;
  ASSERT_TRUE(writeFileAtomically(path, "short", &reason)) << reason;
  EXPECT_EQ(testing::readWholeFile(path), "short");
  EXPECT_EQ(CommonUtils::getFiles({""}, {root / "state"}), std::vector<std::string>{path});
}

TEST(FileModificationTimestamp, GivesSecondsWithTheirFraction) {
  testing::TempFolder root;
  const std::string path = root.write("stamped", "x");
  const timespec times[2] = {{1600000000, 250000000}, {1600000000, 250000000}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  auto seconds = CommonUtils::getFileModificationTimestamp(path);
  ASSERT_TRUE(seconds);
  EXPECT_DOUBLE_EQ(*seconds, 1600000000.25);
  EXPECT_FALSE(CommonUtils::getFileModificationTimestamp(root / "missing"));
}

TEST(LastPathComponent, FollowsFilePathRules) {
  EXPECT_EQ(lastPathComponent("/Applications/A.app/Contents/MacOS/A"), "A");
  EXPECT_EQ(lastPathComponent("/Applications/A.app/"), "A.app");
  EXPECT_EQ(lastPathComponent("relative"), "relative");
  EXPECT_EQ(lastPathComponent("/"), "/");
}

}  // namespace
}  // namespace sondrel
