// Drives the shared library exactly as a host agent does: dlopen, dlsym, C
// callbacks. Nothing here links the library's C++ code.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "agent/sondrel_api.h"

extern "C" size_t sondrelCHeaderRecordSizes(void);

namespace {

using sondrel::tools::SondrelApi;

struct Line {
  uint32_t level;
  std::string subsystem;
  std::string message;
};

std::mutex linesMutex;
std::vector<Line> firstLines;
std::vector<Line> secondLines;

void firstCollector(uint32_t level, const char* subsystem, const char* message) {
  std::lock_guard lock(linesMutex);
  firstLines.push_back({level, subsystem, message});
}
void secondCollector(uint32_t level, const char* subsystem, const char* message) {
  std::lock_guard lock(linesMutex);
  secondLines.push_back({level, subsystem, message});
}

std::vector<std::string> messages(const std::vector<Line>& lines) {
  std::lock_guard lock(linesMutex);
  std::vector<std::string> texts;
  for (const auto& line : lines) texts.push_back(line.message);
  return texts;
}

class AbiHost : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string error;
    ASSERT_TRUE(sondrel::tools::loadSondrelApi(SONDREL_LIBRARY_PATH, api, &error)) << error;
    std::lock_guard lock(linesMutex);
    firstLines.clear();
    secondLines.clear();
  }
  void TearDown() override { api.unregisterLogsCollectorCallback(); }

  template <typename Function>
  Function symbol(const char* name) {
    auto* found = reinterpret_cast<Function>(dlsym(api.handle, name));
    EXPECT_NE(found, nullptr) << name;
    return found;
  }

  SondrelApi api;
};

TEST_F(AbiHost, CollectorGetsItsOwnRegistrationButNotItsRemoval) {
  api.registerLogsCollectorCallback(firstCollector);
  {
    std::lock_guard lock(linesMutex);
    ASSERT_EQ(firstLines.size(), 1u);
    EXPECT_EQ(firstLines[0].level, 1u);
    EXPECT_EQ(firstLines[0].message, "Successfully registered logs collector.");
    EXPECT_TRUE(firstLines[0].subsystem.ends_with(".dylib"));
  }
  api.registerLogsCollectorCallback(secondCollector);
  EXPECT_EQ(messages(firstLines).size(), 1u) << "a replaced collector hears nothing more";
  EXPECT_EQ(messages(secondLines), std::vector<std::string>{"Successfully registered logs collector."});

  api.unregisterLogsCollectorCallback();
  api.registerDevicePerfEventsCallback(nullptr, 5);
  EXPECT_EQ(messages(secondLines).size(), 1u) << "the removal line and later lines go to the system log";
}

TEST_F(AbiHost, EveryRegisterAndUnregisterLogsItsLine) {
  api.registerLogsCollectorCallback(firstCollector);
  {
    std::lock_guard lock(linesMutex);
    firstLines.clear();
  }
  api.registerUserEventsCallback(nullptr);
  api.unregisterUserEventsCallback();
  api.registerProcessEventsCallback(nullptr);
  api.unregisterProcessEventsCallback();
  api.registerDevicePerfEventsCallback(nullptr, 5);
  api.unregisterDevicePerfEventsCallback();
  api.registerResourceConsumerEventsCallback(nullptr, 5, 60);
  api.unregisterResourceConsumerEventsCallback();
  api.registerAppCrashEventsCallback(nullptr, "/var/cache/agent", 60);
  api.unregisterAppCrashEventsCallback();
  api.registerSystemCrashEventsCallback(nullptr, "/var/cache/agent", 60);
  api.unregisterSystemCrashEventsCallback();
  api.registerAppHangEventsCallback(nullptr, "/var/cache/agent", 60);
  api.unregisterAppHangEventsCallback();
  api.registerAppUnresponsiveEventsCallback(nullptr);
  api.unregisterAppUnresponsiveEventsCallback();
  api.registerAppChangeEventsCallback(nullptr, "/var/cache/agent", 60);
  api.unregisterAppChangeEventsCallback();
  api.registerSystemUpdateEventsCallback(nullptr, "/var/cache/agent", 60);
  api.unregisterSystemUpdateEventsCallback();
  api.registerAssetEventsCallback(nullptr, 60);
  api.unregisterAssetEventsCallback();
  api.registerServiceEventsCallback(nullptr, "/var/cache/agent", 60);
  api.unregisterServiceEventsCallback();
  api.registerNetEventsCallback(nullptr, nullptr, 1, 2, 3, 4);
  api.unregisterNetEventsCallback();

  const std::vector<std::string> expected = {
      "::registerUserEventsCallback",
      "::unregisterUserEventsCallback",
      "::registerProcessEventsCallback",
      "::unregisterProcessEventsCallback",
      "::registerDevicePerfEventsCallback",
      "::unregisterDevicePerfEventsCallback",
      ":: registerResourceConsumptionEventsCallback",
      ":: unregisterResourceConsumerEventsCallback",
      "::registerAppCrashEventsCallback with cache /var/cache/agent",
      "::unregisterAppCrashEventsCallback",
      "::registerSystemCrashEventsCallback with cache /var/cache/agent",
      "::unregisterSystemCrashEventsCallback",
      "::registerAppHangEventsCallback with cache /var/cache/agent",
      "::unregisterAppHangEventsCallback",
      ":: registerAppUnresponsiveEventsCallback",
      ":: unregisterAppUnresponsiveEventsCallback",
      "::registerAppChangeEventsCallback with cache /var/cache/agent",
      "::unregisterAppChangeEventsCallback",
      "::registerSystemUpdateEventsCallback with cache /var/cache/agent",
      ":: unregisterSystemUpdateEventsCallback",
      "::registerAssetEventsCallback",
      "::unregisterAssetEventsCallback",
      "::registerServiceEventsCallback with cache /var/cache/agent",
      ":: unregisterServiceEventsCallback",
      ":: registerNetEventsCallback",
      ":: unregisterNetEventsCallback",
  };
  const auto logged = messages(firstLines);
  for (const auto& line : expected) {
    EXPECT_NE(std::find(logged.begin(), logged.end(), line), logged.end()) << "missing: " << line;
  }
  std::lock_guard lock(linesMutex);
  for (const auto& line : firstLines) {
    if (line.message.starts_with("::")) {
      EXPECT_EQ(line.level, 1u) << line.message;
    }
  }
}

TEST_F(AbiHost, RepeatedRegisterAndUnregisterOnlyLog) {
  api.registerLogsCollectorCallback(firstCollector);
  api.registerAppCrashEventsCallback(nullptr, nullptr, 60);
  api.registerAppCrashEventsCallback(nullptr, "\xff\xfe", 60);
  api.unregisterAppCrashEventsCallback();
  api.unregisterAppCrashEventsCallback();
  api.unregisterServiceEventsCallback();
  const auto logged = messages(firstLines);
  EXPECT_EQ(std::count(logged.begin(), logged.end(), "::unregisterAppCrashEventsCallback"), 2);
  EXPECT_EQ(std::count(logged.begin(), logged.end(), "::registerAppCrashEventsCallback with cache (null)"), 1);
}

TEST_F(AbiHost, ExitMainLoopFromAnotherThreadEndsItPromptly) {
  api.exitMainLoop();  // before any loop: nothing to stop, nothing breaks
  for (int round = 0; round < 2; ++round) {
    std::atomic<bool> returned{false};
    std::thread lent([&] {
      api.initMainLoop();
      returned = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(returned.load()) << "the loop runs until told to stop";
    const auto asked = std::chrono::steady_clock::now();
    api.exitMainLoop();
    lent.join();
    EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::milliseconds(500)) << "round " << round;
  }
}

TEST_F(AbiHost, NativeLogRefusesBadInputAndNeverReachesTheCollector) {
  auto nativeLog = symbol<decltype(&::nativeLog)>("nativeLog");
  api.registerLogsCollectorCallback(firstCollector);
  {
    std::lock_guard lock(linesMutex);
    firstLines.clear();
  }
  nativeLog(2, "dev.example.host", "tests", "written to the system log only");
  nativeLog(2, "dev.example.host", nullptr, "no category: nothing written");
  nativeLog(2, "dev.example.host", "tests", "\xc3\x28 is not UTF-8");
  EXPECT_TRUE(messages(firstLines).empty());
  nativeLog(6, "dev.example.host", "tests", "not a level");
  const auto logged = messages(firstLines);
  ASSERT_EQ(logged.size(), 1u);
  EXPECT_NE(logged[0].find("level 6"), std::string::npos);
}

TEST_F(AbiHost, SavedUserNameIsCopiedInAndOut) {
  auto setSaved = symbol<decltype(&::setSavedUserName)>("setSavedUserName");
  auto getSaved = symbol<decltype(&::getRetainedSavedUserName)>("getRetainedSavedUserName");
  auto release = symbol<decltype(&::sondrelFree)>("sondrelFree");
  auto global = symbol<const char**>("savedUserName");

  std::string name = "alice";
  setSaved(name.c_str());
  name = "mallory";  // the library kept its own copy
  char* saved = getSaved();
  ASSERT_NE(saved, nullptr);
  EXPECT_STREQ(saved, "alice");
  EXPECT_STREQ(*global, "alice");
  release(saved);

  setSaved(nullptr);
  EXPECT_EQ(getSaved(), nullptr);
  EXPECT_EQ(*global, nullptr);
}

TEST_F(AbiHost, QueriesRefuseNullPointers) {
  EXPECT_FALSE(symbol<decltype(&::getBootTime)>("getBootTime")(nullptr));
  EXPECT_FALSE(symbol<decltype(&::getShutdownTime)>("getShutdownTime")(nullptr));
  EXPECT_FALSE(symbol<decltype(&::getOSInfo)>("getOSInfo")(nullptr));
  EXPECT_FALSE(symbol<decltype(&::getDeviceInfo)>("getDeviceInfo")(nullptr));
  EXPECT_FALSE(symbol<decltype(&::getUsedSpace)>("getUsedSpace")(nullptr));
  EXPECT_FALSE(symbol<decltype(&::SMCReadKey)>("SMCReadKey")("TC0P", nullptr));
  EXPECT_FALSE(symbol<decltype(&::PI_getOSVersion)>("PI_getOSVersion")(nullptr));
  EXPECT_GT(sondrelCHeaderRecordSizes(), 0u);
}

}  // namespace
