// The launchd program cache and inventory over real launchd job files.

#include <gtest/gtest.h>

#include <filesystem>

#include "services/service_info_cache.h"
#include "services/service_utils.h"
#include "services/testing/fake_tool.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

std::string plistFolder() { return std::string(SONDREL_CORPUS_DIR) + "/plists"; }

class LaunchdCorpus : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::is_directory(plistFolder())) GTEST_SKIP() << "no corpus at " << plistFolder();
  }
};

TEST_F(LaunchdCorpus, JobFilesGiveLabelAndProgramByTheArgumentsFirstRule) {
  const auto mdns = parseService(plistFolder() + "/osquery_test_launchd_com.apple.mDNSResponder.plist");
  ASSERT_TRUE(mdns);
  EXPECT_EQ(mdns->first, "com.apple.mDNSResponder");
  EXPECT_EQ(mdns->second, "/usr/sbin/mDNSResponder");

  // Both keys present: the first argument wins even when it is a bare name.
  EXPECT_EQ(parseService(plistFolder() + "/apple_com.apple.auditd.plist")->second, "auditd");
  // Only "Program".
  EXPECT_EQ(parseService(plistFolder() + "/apple_com.apple.SCHelper.plist")->second,
            "/System/Library/Frameworks/SystemConfiguration.framework/Versions/A/Helpers/SCHelper");

  EXPECT_FALSE(parseService(plistFolder() + "/osquery_test_array_toplevel.plist"));
  EXPECT_FALSE(parseService(plistFolder() + "/osquery_test_binary_SessionItems.bplist"));
}

TEST_F(LaunchdCorpus, TheWholeFolderThroughTheInventoryWithFakeTools) {
  testing::TempFolder root;
  testing::FakeTool dscl(root, "dscl");
  testing::FakeTool launchctl(root, "launchctl");
  dscl.on({".", "-list", "/Users", "UniqueID"}, "root 0\n");
  launchctl.on({"asuser", "0", launchctl.path(), "list"},
               "PID\tStatus\tLabel\n-\t0\torg.pqrs.service.agent.Karabiner-Core-Service-rev2\n");
  launchctl.on({"list"},
               "PID\tStatus\tLabel\n"
               "-\t0\tcom.apple.SCHelper\n"
               "-\t0\tcom.googlecode.munki.appusaged\n"
               "-\t0\tio.osquery.agent\n"
               "-\t0\tcom.northpolesec.santa.syncservice.0A1B2C3D-4E5F-6A7B-8C9D-0E1F2A3B4C5D\n");
  ServiceUtils utils(std::make_shared<ServiceInfoCache>(std::vector<std::string>{plistFolder()},
                                                        [] { return std::vector<std::string>{}; }),
                     std::make_shared<ServiceCommandUtils>(defaultCommandRunnerFactory(), dscl.path(), launchctl.path()),
                     std::chrono::seconds(10),
                     AccountLookup{[](uint32_t uid) -> std::optional<std::string> {
                                     if (uid == 0) return "root";
                                     return std::nullopt;
                                   },
                                   [](int32_t) -> std::optional<uint32_t> { return std::nullopt; }});
  const auto services = utils.getServices();
  ASSERT_TRUE(services);
  EXPECT_EQ(*services,
            (std::vector<ServiceInfo>{
                {"com.apple.SCHelper", "", "root"},
                {"com.googlecode.munki.appusaged", "", "root"},
                {"com.northpolesec.santa.syncservice", "", "root"},
                {"io.osquery.agent", "", "root"},
                {"org.pqrs.service.agent.Karabiner-Core-Service-rev2", "", "root"},
            }));
  for (const auto& info : *services) EXPECT_FALSE(info.program.empty()) << info.service;
  EXPECT_EQ((*services)[3].program, "/opt/osquery/lib/osquery.app/Contents/MacOS/osqueryd");
  EXPECT_EQ((*services)[2].program, "/Applications/Santa.app/Contents/MacOS/santasyncservice");
  // Every program came from the files: no per-service query was needed.
  EXPECT_EQ(launchctl.calls().size(), 2u);
}

}  // namespace
}  // namespace sondrel
