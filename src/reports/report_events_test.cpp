#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "frame/plist_cache.h"
#include "frame/slots.h"
#include "reports/app_crash_events.h"
#include "reports/app_hang_events.h"
#include "reports/system_crash_events.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

using namespace std::chrono_literals;
using testing::TempFolder;

// Written well before any scan, so the freshness rule never holds them back.
std::string writeOldReport(const TempFolder& folder, const std::string& name, const std::string& content) {
  const auto path = folder.write(name, content);
  std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() - 1h);
  return path;
}

std::string crashText(const std::string& identifier) { return "Identifier: " + identifier + "\nVersion: 1\n"; }

ReportFolders only(const TempFolder& folder) {
  return [path = folder.path()] { return std::vector<std::string>{path}; };
}

// What the C callbacks saw; they are plain function pointers, so the state is global.
struct Deliveries {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<std::string> names;
  std::function<void()> duringCallback;

  void add(std::string name) {
    std::function<void()> hook;
    {
      std::lock_guard lock(mutex);
      names.push_back(std::move(name));
      hook = duringCallback;
    }
    if (hook) hook();
    changed.notify_all();
  }
  bool waitFor(size_t count, std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, timeout, [&] { return names.size() >= count; });
  }
  size_t size() {
    std::lock_guard lock(mutex);
    return names.size();
  }
};

Deliveries* deliveries = nullptr;

void onCrash(app_crash_event_t* event) { deliveries->add(event->application); }
void onPanic(system_crash_event_t* event) { deliveries->add(std::string(event->version) + "|" + event->stackTrace); }
void onHang(app_hang_event_t* event) { deliveries->add(std::string(event->application) + "|" + event->appPath); }

class ReportEventsTest : public ::testing::Test {
 protected:
  void SetUp() override { deliveries = &seen; }
  void TearDown() override { deliveries = nullptr; }
  Deliveries seen;
  TempFolder reports, cache;
};

TEST_F(ReportEventsTest, TimerDeliversEveryReportOnceAndCachesTheirPaths) {
  const auto a = writeOldReport(reports, "a.crash", crashText("A"));
  const auto b = writeOldReport(reports, "b.ips", "{\"app_name\":\"B\"}\n{}");
  const auto c = writeOldReport(reports, "c.crash", crashText("C"));
  auto source = std::make_shared<AppCrashEvents>(cache.path(), std::make_unique<CrashReportParser>(), 20ms,
                                                 only(reports));
  source->startListening(onCrash);
  ASSERT_TRUE(seen.waitFor(3, 10s));
  // Later ticks find nothing new.
  std::this_thread::sleep_for(100ms);
  source->stopListening();
  EXPECT_EQ(seen.names, (std::vector<std::string>{"A", "B", "C"}));
  EXPECT_EQ(CommonUtils::loadCachedStringArray(cache / "crash.plist"), (std::vector<std::string>{a, b, c}));
  EXPECT_TRUE(source->collectNewCrashInfos().empty());
}

TEST_F(ReportEventsTest, ReportsTheParserRejectsAreCachedAndNeverRetried) {
  writeOldReport(reports, "bad.crash", "no identifier here\n");
  AppCrashEvents source(cache.path(), std::make_unique<CrashReportParser>(), 60s, only(reports));
  EXPECT_TRUE(source.collectNewCrashInfos().empty());
  EXPECT_EQ(CommonUtils::loadCachedStringArray(cache / "crash.plist")->size(), 1u);
  EXPECT_TRUE(source.collectNewCrashInfos().empty());
}

TEST_F(ReportEventsTest, NoCallbackIsCalledOnceStopHasReturned) {
  for (int i = 0; i < 20; ++i) writeOldReport(reports, "r" + std::to_string(i) + ".crash", crashText("R"));
  auto source = std::make_shared<AppCrashEvents>(cache.path(), std::make_unique<CrashReportParser>(), 1ms,
                                                 only(reports));
  seen.duringCallback = [] { std::this_thread::sleep_for(2ms); };
  source->startListening(onCrash);
  ASSERT_TRUE(seen.waitFor(1, 10s));
  source->stopListening();
  const size_t atStop = seen.size();
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(seen.size(), atStop);
  EXPECT_LT(atStop, 20u);
}

TEST_F(ReportEventsTest, StopFromInsideTheCallbackEndsTheBatchWithoutWaitingForItself) {
  for (int i = 0; i < 3; ++i) writeOldReport(reports, "r" + std::to_string(i) + ".crash", crashText("R"));
  auto source = std::make_shared<AppCrashEvents>(cache.path(), std::make_unique<CrashReportParser>(), 5ms,
                                                 only(reports));
  std::weak_ptr<AppCrashEvents> weak = source;
  seen.duringCallback = [weak] {
    if (auto strong = weak.lock()) strong->stopListening();
  };
  source->startListening(onCrash);
  ASSERT_TRUE(seen.waitFor(1, 10s));
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(seen.size(), 1u);
}

TEST_F(ReportEventsTest, StopBeforeTheStartRanKeepsTheSourceSilent) {
  writeOldReport(reports, "a.crash", crashText("A"));
  auto source = std::make_shared<AppCrashEvents>(cache.path(), std::make_unique<CrashReportParser>(), 1ms,
                                                 only(reports));
  source->startListening(onCrash);
  source->stopListening();
  source.reset();
  std::this_thread::sleep_for(30ms);
  EXPECT_EQ(seen.size(), 0u);
}

TEST_F(ReportEventsTest, PanicsMovedIntoRetiredAreNotDeliveredTwice) {
  const std::string panic = "panic(cpu 0 caller 0x1): boom\nMac OS version:\n17F77\n";
  const auto first = writeOldReport(reports, "Kernel_1.panic", panic);
  SystemCrashEvents source(cache.path(), std::make_unique<PanicReportParser>(), 60s, [&] {
    return std::vector<std::string>{reports.path(), reports / "Retired"};
  });
  ASSERT_EQ(source.collectNewPanicInfos().size(), 1u);
  std::filesystem::create_directory(reports / "Retired");
  std::filesystem::rename(first, reports / "Retired/Kernel_1.panic");
  writeOldReport(reports, "Retired/Kernel_2.panic", panic);
  const auto infos = source.collectNewPanicInfos();
  ASSERT_EQ(infos.size(), 1u);
  EXPECT_EQ(infos[0].crashPath, reports / "Retired/Kernel_2.panic");
}

TEST_F(ReportEventsTest, PanicRecordsCarryTheReasonAndTrace) {
  writeOldReport(reports, "Kernel.panic", "panic(cpu 0 caller 0x1): boom\nBacktrace (CPU 0), Frame : Return Address\n"
                                          "0x1 : 0x2\n\nMac OS version:\n17F77\n");
  auto source = std::make_shared<SystemCrashEvents>(cache.path(), std::make_unique<PanicReportParser>(), 10ms,
                                                    only(reports));
  source->startListening(onPanic);
  ASSERT_TRUE(seen.waitFor(1, 10s));
  source->stopListening();
  EXPECT_EQ(seen.names, std::vector<std::string>{"17F77|boom\n0x1 : 0x2"});
  EXPECT_TRUE(std::filesystem::exists(cache / "panic.plist"));
}

TEST_F(ReportEventsTest, HangReportsWithoutAPathAreStillDelivered) {
  writeOldReport(reports, "a.hang", "Version: 2\nDuration: 1s\n");
  writeOldReport(reports, "b.hang", "Path: /Applications/B.app/Contents/MacOS/B\n");
  auto source = std::make_shared<AppHangEvents>(cache.path(), std::make_unique<AppHangReportParser>(), 10ms,
                                                only(reports));
  source->startListening(onHang);
  ASSERT_TRUE(seen.waitFor(2, 10s));
  source->stopListening();
  EXPECT_EQ(seen.names, (std::vector<std::string>{"|", "B|/Applications/B.app/Contents/MacOS/B"}));
  EXPECT_TRUE(std::filesystem::exists(cache / "hang.plist"));
}

TEST(ReportRecords, CrashTextIsCutToFitAndAlwaysTerminated) {
  CrashInfo info;
  info.application = std::string(300, 'a');
  info.appPath = std::string(2000, 'p');
  info.module = "é" + std::string(253, 'm');  // the cut lands inside no character here...
  info.moduleVersion = std::string(254, 'v') + "é";  // ...and inside one here
  info.crashTime = 7;
  const auto event = makeAppCrashEvent(info);
  EXPECT_EQ(std::string(event.application), std::string(255, 'a'));
  EXPECT_EQ(std::string(event.appPath).size(), 1023u);
  EXPECT_EQ(std::string(event.module).size(), 255u);
  EXPECT_EQ(std::string(event.moduleVersion), std::string(254, 'v') + "\xc3");
  EXPECT_EQ(event.crashTime, 7u);
  EXPECT_EQ(event.publisher[0], '\0');
}

TEST(ReportRecords, PanicRecordFallsBackToTheBuildInTheText) {
  PanicInfo info;
  info.panicReason = "boom";
  info.stackTrace = "0x1 : 0x2";
  info.macosVersion = "17F77";
  info.crashPath = "/r/k.panic";
  info.timestamp = 9;
  auto event = makeSystemCrashEvent(info);
  EXPECT_STREQ(event.version, "17F77");
  EXPECT_STREQ(event.stackTrace, "boom\n0x1 : 0x2");
  EXPECT_STREQ(event.process, "");
  EXPECT_EQ(event.timestamp, 9u);
  freeSystemCrashEvent(event);
  EXPECT_EQ(event.crashPath, nullptr);
  info.version = "macOS 13.4 (22F66)";
  event = makeSystemCrashEvent(info);
  EXPECT_STREQ(event.version, "macOS 13.4 (22F66)");
  freeSystemCrashEvent(event);
}

TEST(ReportExports, ASecondRegisterKeepsTheFirstSourceAndUnregisterEmptiesTheSlot) {
  TempFolder cache;
  registerAppHangEventsCallback(onHang, cache.path().c_str(), 3600);
  const auto first = Slots::appHangEvents().get();
  ASSERT_NE(first, nullptr);
  registerAppHangEventsCallback(nullptr, "/elsewhere", 1);
  EXPECT_EQ(Slots::appHangEvents().get(), first);
  unregisterAppHangEventsCallback();
  EXPECT_FALSE(Slots::appHangEvents().isSet());
  unregisterAppHangEventsCallback();

  registerAppCrashEventsCallback(onCrash, nullptr, 3600);
  registerSystemCrashEventsCallback(nullptr, "\xff", 0);
  EXPECT_TRUE(Slots::appCrashEvents().isSet());
  EXPECT_TRUE(Slots::systemCrashEvents().isSet());
  unregisterAppCrashEventsCallback();
  unregisterSystemCrashEventsCallback();
  EXPECT_FALSE(Slots::appCrashEvents().isSet());
  EXPECT_FALSE(Slots::systemCrashEvents().isSet());
}

}  // namespace
}  // namespace sondrel
