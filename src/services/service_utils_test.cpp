#include "services/service_utils.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "services/testing/fake_tool.h"
#include "test_support/log_capture.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

using namespace std::chrono_literals;
using testing::FakeTool;
using testing::LogCapture;
using testing::TempFolder;

std::string jobPlist(const std::string& label, const std::vector<std::string>& arguments,
                     const std::string& program = "") {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n";
  if (!label.empty()) text += "\t<key>Label</key>\n\t<string>" + label + "</string>\n";
  text += "\t<key>ProgramArguments</key>\n\t<array>\n";
  for (const auto& argument : arguments) text += "\t\t<string>" + argument + "</string>\n";
  text += "\t</array>\n";
  if (!program.empty()) text += "\t<key>Program</key>\n\t<string>" + program + "</string>\n";
  return text + "</dict>\n</plist>\n";
}

const std::string kHeader = "PID\tStatus\tLabel\n";

TEST(ServiceNameTrimming, StripsTheTwoInstanceSuffixForms) {
  EXPECT_EQ(trimServiceName("com.apple.xpc.instance.0A1B2C3D-4E5F-6A7B-8C9D-0E1F2A3B4C5D"), "com.apple.xpc.instance");
  EXPECT_EQ(trimServiceName("com.example.helper-0x1a2b3c4d5"), "com.example.helper");
  EXPECT_EQ(trimServiceName("com.example.helper-0x1A2B3C4D5"), "com.example.helper");
}

TEST(ServiceNameTrimming, LeavesOtherLabelsAlone) {
  // The first rule wants upper-case digits only.
  EXPECT_EQ(trimServiceName("com.example.lower.0a1b2c3d-4e5f-6a7b-8c9d-0e1f2a3b4c5d"),
            "com.example.lower.0a1b2c3d-4e5f-6a7b-8c9d-0e1f2a3b4c5d");
  EXPECT_EQ(trimServiceName("com.example.helper-0x1a2b3c4d"), "com.example.helper-0x1a2b3c4d") << "eight digits";
  EXPECT_EQ(trimServiceName("com.example.helper-0x1a2b3c4d5.more"), "com.example.helper-0x1a2b3c4d5.more");
  EXPECT_EQ(trimServiceName("ABCD-ABCD-ABCD-ABCDABCDABCD"), "ABCD-ABCD-ABCD-ABCDABCDABCD") << "no dot to cut at";
}

TEST(ServiceRawDataMap, ALaterRecordOfTheSameLabelWins) {
  const auto map = buildRawDataMap({{"com.x", 10, 501u}, {"com.y", std::nullopt, 501u}, {"com.x", 20, std::nullopt}});
  ASSERT_EQ(map.size(), 2u);
  EXPECT_EQ(map.at("com.x"), (ServiceRawData{"com.x", 20, std::nullopt}));
}

// The whole inventory against launchd folders in a temporary folder and
// shell scripts standing in for dscl and launchctl.
class LaunchdInventory : public ::testing::Test {
 protected:
  LaunchdInventory() : dscl(root, "dscl"), launchctl(root, "launchctl") {
    std::filesystem::create_directories(daemons);
    std::filesystem::create_directories(userAgents);
    dscl.on({".", "-list", "/Users", "UniqueID"}, "alice   501\n");
  }

  std::unique_ptr<ServiceUtils> makeUtils(std::chrono::nanoseconds timeout = 10s) {
    auto cache = std::make_shared<ServiceInfoCache>(std::vector<std::string>{daemons, root / "missing"},
                                                    [this] { return std::vector<std::string>{userAgents}; });
    auto commands = std::make_shared<ServiceCommandUtils>(defaultCommandRunnerFactory(), dscl.path(), launchctl.path());
    AccountLookup accounts{[](uint32_t uid) -> std::optional<std::string> {
                             if (uid == 0) return "root";
                             if (uid == 501) return "alice";
                             if (uid == 503) return "carol";
                             return std::nullopt;
                           },
                           [](int32_t pid) -> std::optional<uint32_t> {
                             if (pid == 300) return 501u;
                             if (pid == 301) return 777u;
                             return std::nullopt;
                           }};
    return std::make_unique<ServiceUtils>(cache, commands, timeout, accounts);
  }

  void userList(uint32_t uid, const std::string& lines) {
    launchctl.on({"asuser", std::to_string(uid), launchctl.path(), "list"}, kHeader + lines);
  }
  void systemList(const std::string& lines) { launchctl.on({"list"}, kHeader + lines); }

  static const ServiceInfo* find(const std::vector<ServiceInfo>& services, const std::string& label) {
    auto found = std::find_if(services.begin(), services.end(), [&](const auto& s) { return s.service == label; });
    return found == services.end() ? nullptr : &*found;
  }

  TempFolder root;
  std::string daemons = root / "LaunchDaemons";
  std::string userAgents = root / "home/alice/Library/LaunchAgents";
  FakeTool dscl;
  FakeTool launchctl;
  LogCapture logs;
};

TEST_F(LaunchdInventory, JoinsListsWithProgramsFromFilesAndFromLaunchctl) {
  root.write("LaunchDaemons/com.example.daemon.plist", jobPlist("com.example.daemon", {"/opt/daemon", "--serve"}));
  root.write("LaunchDaemons/com.example.empty.plist", jobPlist("com.example.empty", {}, "/opt/empty"));
  root.write("home/alice/Library/LaunchAgents/com.example.agent.plist", jobPlist("com.example.agent", {"/opt/agent"}));
  root.write("LaunchDaemons/broken.plist", "not a property list");
  root.write("LaunchDaemons/nolabel.plist", jobPlist("", {"/opt/nolabel"}));
  userList(501, "-\t0\tcom.example.agent\n12\t0\tcom.example.listed-only\n");
  launchctl.on({"asuser", "501", launchctl.path(), "list", "com.example.listed-only"},
               "{\n\t\"Label\" = \"com.example.listed-only\";\n\t\"Program\" = \"/opt/listed\";\n};\n");
  systemList("300\t0\tcom.example.daemon\n-\t0\tcom.example.empty\n301\t0\tcom.example.strange-owner\n");
  launchctl.on({"list", "com.example.strange-owner"}, "\t\"Program\" = \"/opt/strange\";\n");

  const auto services = makeUtils()->getServices();
  ASSERT_TRUE(services);
  ASSERT_EQ(services->size(), 5u);
  auto check = [&](const std::string& label, const std::string& program, const std::string& user) {
    const auto* info = find(*services, label);
    ASSERT_NE(info, nullptr) << label;
    EXPECT_EQ(info->program, program) << label;
    EXPECT_EQ(info->user, user) << label;
  };
  check("com.example.agent", "/opt/agent", "alice");
  check("com.example.listed-only", "/opt/listed", "alice");
  check("com.example.daemon", "/opt/daemon", "alice");  // its pid runs as 501
  check("com.example.empty", "/opt/empty", "root");     // empty ProgramArguments, Program used; no pid
  check("com.example.strange-owner", "/opt/strange", "root");  // the pid's uid has no name

  // Only services the files don't know are asked for one by one.
  const auto calls = launchctl.calls();
  EXPECT_EQ(std::count_if(calls.begin(), calls.end(), [](const auto& c) { return c.ends_with("list com.example.agent"); }),
            0);
  EXPECT_NE(std::find(calls.begin(), calls.end(), "asuser 501 " + launchctl.path() + " list com.example.listed-only"),
            calls.end());
  EXPECT_EQ(dscl.calls(), (std::vector<std::string>{". -list /Users UniqueID"}));
}

TEST_F(LaunchdInventory, DropsUsersWithoutAPasswordEntryAndServicesWithoutProgram) {
  dscl.on({".", "-list", "/Users", "UniqueID"}, "alice 501\nghost 502\n");
  root.write("LaunchDaemons/a.plist", jobPlist("com.example.ghostjob", {"/opt/ghost"}));
  root.write("LaunchDaemons/b.plist", jobPlist("com.example.alicejob", {"/opt/alice"}));
  userList(501, "-\t0\tcom.example.alicejob\n-\t0\tcom.example.unknown\n");
  userList(502, "-\t0\tcom.example.ghostjob\n");
  systemList("");

  const auto services = makeUtils()->getServices();
  ASSERT_TRUE(services);
  ASSERT_EQ(services->size(), 1u);
  EXPECT_EQ((*services)[0], (ServiceInfo{"com.example.alicejob", "/opt/alice", "alice"}));
  EXPECT_TRUE(logs.contains("Failed to get service info by launchctl."));
  EXPECT_TRUE(logs.contains("Failed to get program for service com.example.unknown with user Optional(501)"));
}

TEST_F(LaunchdInventory, SystemRecordWinsOverUserRecordAndLabelsAreTrimmed) {
  root.write("LaunchDaemons/a.plist", jobPlist("com.example.both", {"/opt/both"}));
  root.write("LaunchDaemons/b.plist", jobPlist("com.example.instance", {"/opt/instance"}));
  userList(501, "-\t0\tcom.example.both\n-\t0\tcom.example.instance.0A1B2C3D-4E5F-6A7B-8C9D-0E1F2A3B4C5D\n");
  systemList("-\t0\tcom.example.both\n");

  const auto services = makeUtils()->getServices();
  ASSERT_TRUE(services);
  ASSERT_EQ(services->size(), 2u);
  EXPECT_EQ(find(*services, "com.example.both")->user, "root");
  ASSERT_NE(find(*services, "com.example.instance"), nullptr);
  EXPECT_EQ(find(*services, "com.example.instance")->program, "/opt/instance");
}

TEST_F(LaunchdInventory, TwoFilesDeclaringOneLabelGiveOneProgram) {
  root.write("LaunchDaemons/first.plist", jobPlist("com.example.twice", {"/opt/first"}));
  root.write("LaunchDaemons/second.plist", jobPlist("com.example.twice", {"/opt/second"}));
  systemList("-\t0\tcom.example.twice\n");
  const auto services = makeUtils()->getServices();
  ASSERT_TRUE(services);
  ASSERT_EQ(services->size(), 1u);
  EXPECT_EQ((*services)[0].program, "/opt/first") << "the first file of the label's set";
}

TEST_F(LaunchdInventory, FoldersAreReadAgainOnlyWhenTheyChange) {
  root.write("LaunchDaemons/job.plist", jobPlist("com.example.job", {"/opt/v1"}));
  systemList("-\t0\tcom.example.job\n-\t0\tcom.example.later\n");
  auto utils = makeUtils();
  ASSERT_EQ(find(*utils->getServices(), "com.example.job")->program, "/opt/v1");

  // Rewriting a file in place leaves its folder's time alone: the cache holds.
  root.write("LaunchDaemons/job.plist", jobPlist("com.example.job", {"/opt/v2"}));
  ASSERT_EQ(find(*utils->getServices(), "com.example.job")->program, "/opt/v1");

  // A new file changes the folder, which is then read again as a whole.
  root.write("LaunchDaemons/later.plist", jobPlist("com.example.later", {"/opt/later"}));
  const auto services = utils->getServices();
  EXPECT_EQ(find(*services, "com.example.job")->program, "/opt/v2");
  EXPECT_EQ(find(*services, "com.example.later")->program, "/opt/later");
}

TEST_F(LaunchdInventory, ADeletedFolderLosesItsEntriesOnEveryPoll) {
  root.write("LaunchDaemons/job.plist", jobPlist("com.example.job", {"/opt/job"}));
  systemList("-\t0\tcom.example.job\n");
  auto utils = makeUtils();
  ASSERT_EQ(utils->getServices()->size(), 1u);

  std::filesystem::remove_all(daemons);
  EXPECT_TRUE(utils->getServices()->empty());
  EXPECT_TRUE(logs.contains("Failed to get program for service com.example.job with user nil"));

  // Back again: a folder that can't be examined keeps counting as changed.
  root.write("LaunchDaemons/job.plist", jobPlist("com.example.job", {"/opt/again"}));
  ASSERT_EQ(utils->getServices()->size(), 1u);
  EXPECT_EQ((*utils->getServices())[0].program, "/opt/again");
}

TEST_F(LaunchdInventory, NoUidListIsNoInventory) {
  dscl.on({".", "-list", "/Users", "UniqueID"}, "");
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(makeUtils()->getServices());
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Failed to list the services.\n");
  EXPECT_TRUE(logs.contains("Failed to get uid list."));
}

TEST_F(LaunchdInventory, AFailedListOnlyLosesItsOwnServices) {
  root.write("LaunchDaemons/a.plist", jobPlist("com.example.user", {"/opt/user"}));
  dscl.on({".", "-list", "/Users", "UniqueID"}, "alice 501\ncarol 503\n");
  userList(501, "-\t0\tcom.example.user\n");
  launchctl.failOn({"list"}, 3);
  ::testing::internal::CaptureStdout();
  const auto services = makeUtils()->getServices();
  ::testing::internal::GetCapturedStdout();
  ASSERT_TRUE(services);
  ASSERT_EQ(services->size(), 1u);
  EXPECT_EQ((*services)[0].user, "alice");
  EXPECT_TRUE(logs.contains("Failed to list services for uid 503."));
  EXPECT_TRUE(logs.contains("Failed to list system services."));
}

TEST_F(LaunchdInventory, AToolThatHangsPastTheTimeoutGivesNoInventory) {
  userList(501, "-\t0\tcom.example.slow\n");
  launchctl.sleepOn({"asuser", "501", launchctl.path(), "list"}, "3");
  systemList("");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(makeUtils(200ms)->getServices());
  EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
  EXPECT_TRUE(logs.contains("Failed to list the services because of timeout."));
}

TEST_F(LaunchdInventory, AProgramLookupThatHangsPastTheTimeoutGivesNoInventory) {
  systemList("-\t0\tcom.example.slow\n");
  launchctl.sleepOn({"list", "com.example.slow"}, "3");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(makeUtils(200ms)->getServices());
  EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
  EXPECT_TRUE(logs.contains("Failed to get programs because of timeout."));
}

}  // namespace
}  // namespace sondrel
