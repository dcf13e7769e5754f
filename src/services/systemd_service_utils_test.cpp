#include "services/systemd_service_utils.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "services/process_owner.h"
#include "services/testing/fake_tool.h"
#include "test_support/log_capture.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

using namespace std::chrono_literals;
using testing::FakeTool;
using testing::LogCapture;
using testing::TempFolder;

TEST(SystemdUnitList, ReadsLoadedAndOtherRowsAndSkipsNonServices) {
  const auto units = parseSystemdUnitList(
      "cron.service                 loaded    active   running Regular background program processing daemon\n"
      "\xE2\x97\x8F broken.service  loaded    failed   failed  Broken thing\n"
      "ghost.service                not-found inactive dead    ghost.service\n"
      "user@1000.service            loaded    active   running User Manager for UID 1000\n"
      "dbus.socket                  loaded    active   running D-Bus System Message Bus Socket\n"
      "short.service loaded\n");
  ASSERT_EQ(units.size(), 4u);
  EXPECT_EQ(units[0].name, "cron.service");
  EXPECT_EQ(units[0].sub, "running");
  EXPECT_EQ(units[1].name, "broken.service");
  EXPECT_EQ(units[1].active, "failed");
  EXPECT_EQ(units[2].load, "not-found");
  EXPECT_EQ(userManagerUid(units[3].name), 1000u);
  EXPECT_FALSE(userManagerUid("user@.service"));
  EXPECT_FALSE(userManagerUid("user-runtime-dir@1000.service"));
}

TEST(SystemdUnitFile, FirstExecStartOfTheServiceSectionWithoutPrefixes) {
  EXPECT_EQ(parseExecStartProgram("[Unit]\nExecStart=/not/this\n[Service]\n# ExecStart=/commented\n"
                                  "ExecStart=\nExecStart = -@/usr/sbin/daemon daemon-name -f\nExecStart=/second\n"),
            "/usr/sbin/daemon");
  EXPECT_EQ(parseExecStartProgram("[Service]\nExecStart=!!\"/opt/with space/bin\" --x\n"), "/opt/with space/bin");
  EXPECT_EQ(parseExecStartProgram("[Service]\nExecStartPre=/bin/prep\nExecStart=+:/bin/run\n"), "/bin/run");
  EXPECT_FALSE(parseExecStartProgram("[Service]\nType=oneshot\nExecStop=/bin/stop\n"));
  EXPECT_FALSE(parseExecStartProgram("[Service]\nExecStart=@-\n"));
}

TEST(SystemdShow, ExecStartPathAndMainPid) {
  EXPECT_EQ(parseShownExecStart("{ path=/usr/sbin/cron ; argv[]=/usr/sbin/cron -f ; ignore_errors=no ; "
                                "start_time=[n/a] ; stop_time=[n/a] ; pid=0 ; code=(null) ; status=0/0 }\n"),
            "/usr/sbin/cron");
  EXPECT_FALSE(parseShownExecStart("\n"));
  EXPECT_EQ(parseShownMainPid("MainPID=4242\n"), 4242);
  EXPECT_EQ(parseShownMainPid("77\n"), 77);
  EXPECT_FALSE(parseShownMainPid("MainPID=0\n"));
  EXPECT_FALSE(parseShownMainPid("MainPID=\n"));
}

TEST(SystemdUnitFiles, EarlierFolderWinsAndInstancesUseTheirTemplate) {
  TempFolder root;
  root.write("etc/cron.service", "[Service]\nExecStart=/etc-cron\n");
  root.write("lib/cron.service", "[Service]\nExecStart=/lib-cron\n");
  root.write("lib/getty@.service", "[Service]\nExecStart=-/sbin/agetty -o '-p -- \\\\u' %I\n");
  SystemdUnitFileCache cache;
  const std::vector<std::string> dirs = {root / "etc", root / "lib"};
  cache.update(dirs);
  EXPECT_EQ(cache.programOf("cron.service", dirs), "/etc-cron");
  EXPECT_EQ(cache.programOf("getty@tty1.service", dirs), "/sbin/agetty");
  EXPECT_FALSE(cache.programOf("other.service", dirs));
}

TEST(ProcStatus, RealUidOfTheUidLine) {
  EXPECT_EQ(parseStatusUid("Name:\tcron\nUmask:\t0022\nUid:\t1000\t0\t0\t0\nGid:\t0\t0\t0\t0\n"), 1000u);
  EXPECT_FALSE(parseStatusUid("Name:\tcron\n"));
}

// The inventory against a shell script standing in for systemctl.
class SystemdInventory : public ::testing::Test {
 protected:
  SystemdInventory() : systemctl(root, "systemctl") {}

  std::unique_ptr<SystemdServiceUtils> makeUtils(std::chrono::nanoseconds timeout = 10s) {
    SystemdLocations locations{systemctl.path(), {root / "etc/systemd/system", root / "lib/systemd/system"},
                               [this](const std::string& user) {
                                 return std::vector<std::string>{root / ("home/" + user + "/.config/systemd/user"),
                                                                 root / "lib/systemd/user"};
                               }};
    AccountLookup accounts{[](uint32_t uid) -> std::optional<std::string> {
                             if (uid == 0) return "root";
                             if (uid == 1000) return "alice";
                             if (uid == 33) return "www-data";
                             return std::nullopt;
                           },
                           [](int32_t pid) -> std::optional<uint32_t> {
                             if (pid == 500) return 33u;
                             return std::nullopt;
                           }};
    return std::make_unique<SystemdServiceUtils>(defaultCommandRunnerFactory(), locations, timeout, accounts);
  }

  static std::vector<std::string> listArgs(std::optional<std::string> user = std::nullopt) {
    std::vector<std::string> args = {"list-units", "--type=service", "--all", "--plain", "--no-legend", "--no-pager"};
    if (user) {
      args.push_back("--user");
      args.push_back("--machine=" + *user + "@");
    }
    return args;
  }

  static const ServiceInfo* find(const std::vector<ServiceInfo>& services, const std::string& unit) {
    auto found = std::find_if(services.begin(), services.end(), [&](const auto& s) { return s.service == unit; });
    return found == services.end() ? nullptr : &*found;
  }

  TempFolder root;
  FakeTool systemctl;
  LogCapture logs;
};

TEST_F(SystemdInventory, SystemAndLoggedInUserUnitsWithProgramsAndUsers) {
  root.write("etc/systemd/system/web.service", "[Service]\nExecStart=/usr/sbin/web\n");
  root.write("lib/systemd/system/cron.service", "[Service]\nExecStart=/usr/sbin/cron -f\n");
  root.write("home/alice/.config/systemd/user/sync.service", "[Service]\nExecStart=/home/alice/bin/sync\n");
  systemctl.on(listArgs(),
               "cron.service loaded inactive dead Cron\n"
               "web.service loaded active running Web\n"
               "odd.service loaded active running Odd\n"
               "gone.service not-found inactive dead gone\n"
               "user@1000.service loaded active running User Manager for UID 1000\n"
               "user@1001.service loaded active running User Manager for UID 1001\n");
  systemctl.on({"show", "-p", "MainPID", "web.service"}, "MainPID=500\n");
  systemctl.on({"show", "-p", "MainPID", "odd.service"}, "MainPID=0\n");
  systemctl.on({"show", "-p", "ExecStart", "--value", "odd.service"}, "{ path=/opt/odd ; argv[]=/opt/odd ; }\n");
  systemctl.on({"show", "-p", "ExecStart", "--value", "user@1000.service"}, "{ path=/lib/systemd/systemd ; }\n");
  systemctl.on(listArgs("alice"), "sync.service loaded active running Sync\n");

  const auto services = makeUtils()->getServices();
  ASSERT_TRUE(services);
  auto check = [&](const std::string& unit, const std::string& program, const std::string& user) {
    const auto* info = find(*services, unit);
    ASSERT_NE(info, nullptr) << unit;
    EXPECT_EQ(info->program, program) << unit;
    EXPECT_EQ(info->user, user) << unit;
  };
  check("cron.service", "/usr/sbin/cron", "root");  // not running: no pid asked
  check("web.service", "/usr/sbin/web", "www-data");
  check("odd.service", "/opt/odd", "root");
  check("user@1000.service", "/lib/systemd/systemd", "root");
  check("sync.service", "/home/alice/bin/sync", "alice");
  EXPECT_FALSE(find(*services, "gone.service"));
  EXPECT_FALSE(find(*services, "user@1001.service")) << "no program known";
  EXPECT_EQ(services->size(), 5u);

  const auto calls = systemctl.calls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "show -p MainPID cron.service"), 0);
  EXPECT_EQ(std::count_if(calls.begin(), calls.end(), [](const auto& c) { return c.ends_with("--machine=@"); }), 0)
      << "uid 1001 has no account and is not asked";
}

TEST_F(SystemdInventory, AFailingUserManagerOnlyLosesItsOwnUnits) {
  root.write("lib/systemd/system/cron.service", "[Service]\nExecStart=/usr/sbin/cron\n");
  systemctl.on(listArgs(), "cron.service loaded inactive dead Cron\nuser@1000.service loaded active running M\n");
  systemctl.failOn(listArgs("alice"), 1);
  const auto services = makeUtils()->getServices();
  ASSERT_TRUE(services);
  ASSERT_NE(find(*services, "cron.service"), nullptr);
  EXPECT_TRUE(logs.contains("Failed to list services for user alice."));
}

TEST_F(SystemdInventory, WithoutSystemdThereIsNothingAndOneLogLine) {
  systemctl.failOn(listArgs(), 1);
  auto utils = makeUtils();
  EXPECT_FALSE(utils->getServices());
  EXPECT_FALSE(utils->getServices());
  EXPECT_EQ(logs.lines().size(), 1u);
  EXPECT_TRUE(logs.containsPrefix("Services are not reported: "));

  LogCapture missing;
  SystemdServiceUtils absent(defaultCommandRunnerFactory(), SystemdLocations{root / "no/systemctl", {}, nullptr});
  EXPECT_FALSE(absent.getServices());
  EXPECT_EQ(missing.lines().size(), 1u);
}

TEST_F(SystemdInventory, AHangingUserManagerTimesOut) {
  systemctl.on(listArgs(), "user@1000.service loaded active running M\n");
  systemctl.sleepOn(listArgs("alice"), "3");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(makeUtils(200ms)->getServices());
  EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
  EXPECT_TRUE(logs.contains("Failed to list the services because of timeout."));
}

}  // namespace
}  // namespace sondrel
