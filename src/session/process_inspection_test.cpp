#include "session/process_inspection.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <set>

#include "sondrel/sondrel.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

TEST(OSVersionText, UpToThreeLeadingNumbers) {
  auto version = parseVersionTriple("22.04.3");
  ASSERT_TRUE(version);
  EXPECT_EQ(version->major, 22u);
  EXPECT_EQ(version->minor, 4u);
  EXPECT_EQ(version->bugfix, 3u);
  version = parseVersionTriple("6.1.0-18-amd64");
  ASSERT_TRUE(version);
  EXPECT_EQ(version->major, 6u);
  EXPECT_EQ(version->bugfix, 0u);
  version = parseVersionTriple("12");
  ASSERT_TRUE(version);
  EXPECT_EQ(version->minor, 0u);
  EXPECT_FALSE(parseVersionTriple("bookworm"));
  EXPECT_FALSE(parseVersionTriple(""));

  EXPECT_EQ(parseOsReleaseVersionId("NAME=\"Debian GNU/Linux\"\nVERSION_ID=\"12\"\nVERSION=\"12 (bookworm)\"\n"), "12");
  EXPECT_EQ(parseOsReleaseVersionId("VERSION_ID=3.19.1\n"), "3.19.1");
  EXPECT_FALSE(parseOsReleaseVersionId("ID=arch\n"));
}

TEST(AppBundleWalk, MatchesTheExecutableExactlyAndStopsBeforeRoot) {
  std::vector<std::string> asked;
  const BundleExecutableLookup lookup = [&](const std::string& folder) -> std::optional<std::string> {
    asked.push_back(folder);
    if (folder == "/Applications/Demo.app") return "/Applications/Demo.app/Contents/MacOS/Demo";
    if (folder == "/Applications/Demo.app/Contents/Helpers/Tool.app") {
      return "/Applications/Demo.app/Contents/Helpers/Tool.app/Contents/MacOS/Tool";
    }
    return std::nullopt;
  };
  EXPECT_EQ(findAppBundle("/Applications/Demo.app/Contents/MacOS/Demo", lookup), "/Applications/Demo.app");
  // The nearest bundle is not enough: its executable must be the path itself.
  EXPECT_EQ(findAppBundle("/Applications/Demo.app/Contents/Helpers/helper", lookup), std::nullopt);

  asked.clear();
  EXPECT_EQ(findAppBundle("/usr/local/bin/tool", lookup), std::nullopt);
  EXPECT_EQ(asked, (std::vector<std::string>{"/usr/local/bin/tool", "/usr/local/bin", "/usr/local", "/usr"}));

  EXPECT_EQ(removingLastPathComponent("/a/b/"), "/a");
  EXPECT_EQ(removingLastPathComponent("/a"), "/");
  EXPECT_EQ(removingLastPathComponent("a"), "");
}

TEST(AppBundleWalk, ReadsBundlesLaidOutAsOnMacOS) {
  testing::TempFolder folder;
  folder.write("Demo.app/Contents/Info.plist",
               "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
               "<key>CFBundleExecutable</key><string>Demo</string></dict></plist>\n");
  const std::string executable = folder.write("Demo.app/Contents/MacOS/Demo", "#!/bin/sh\n");
  EXPECT_EQ(findAppBundle(executable), folder / "Demo.app");

  char bundle[4096];
  ASSERT_TRUE(PI_findAppBundle(executable.c_str(), bundle, sizeof bundle));
  EXPECT_EQ(std::string(bundle), folder / "Demo.app");
  char tooSmall[8];
  EXPECT_FALSE(PI_findAppBundle(executable.c_str(), tooSmall, sizeof tooSmall));
  EXPECT_FALSE(PI_findAppBundle(nullptr, bundle, sizeof bundle));
}

TEST(PathSearch, FirstExecutableInPathOrder) {
  const std::set<std::string> executables = {"/opt/bin/tool", "/usr/bin/tool"};
  auto isExecutable = [&](const std::string& path) { return executables.count(path) != 0; };
  EXPECT_EQ(which("tool", std::string("/nope:/opt/bin/:/usr/bin"), isExecutable), "/opt/bin/tool");
  EXPECT_EQ(which("tool", std::string("::/usr/bin"), isExecutable), "/usr/bin/tool");
  EXPECT_EQ(which("tool", std::nullopt, isExecutable), std::nullopt);
  EXPECT_EQ(which("missing", std::string("/usr/bin"), isExecutable), std::nullopt);
}

TEST(ProcessInspectionExports, AnswerFromThisMachine) {
  char resolved[4096];
  ASSERT_TRUE(PI_which("sh", resolved, sizeof resolved));
  EXPECT_EQ(::access(resolved, X_OK), 0);
  EXPECT_FALSE(PI_which("sondrel-no-such-program", resolved, sizeof resolved));

  uint32_t* pids = nullptr;
  uint32_t count = 0;
  ASSERT_TRUE(PI_enumerateProcesses(&pids, &count));
  ASSERT_NE(pids, nullptr);
  bool foundSelf = false;
  for (uint32_t i = 0; i < count; ++i) foundSelf |= pids[i] == static_cast<uint32_t>(::getpid());
  EXPECT_TRUE(foundSelf);
  sondrelFree(pids);

  pi_os_version_t version{};
  ASSERT_TRUE(PI_getOSVersion(&version));
  EXPECT_GT(version.majorVersion, 0u);
  EXPECT_FALSE(PI_getOSVersion(nullptr));
}

}  // namespace
}  // namespace sondrel
