#include "services/service_change_events.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <mutex>

#include "agent/record_writers.h"
#include "common/json_writer.h"
#include "frame/file_utils.h"
#include "services/testing/fake_tool.h"
#include "test_support/log_capture.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

using namespace std::chrono_literals;
using testing::LogCapture;
using testing::TempFolder;

struct Event {
  uint32_t type;
  uint64_t timestamp;
  uint32_t pid;
  std::string service, program, user, json;
};

// What the C callback saw; the callback is a plain function, so this is global.
struct Received {
  std::mutex mutex;
  std::condition_variable arrived;
  std::vector<Event> events;
  std::function<void()> duringCallback;

  void reset() {
    std::lock_guard lock(mutex);
    events.clear();
    duringCallback = nullptr;
  }
  std::vector<Event> snapshot() {
    std::lock_guard lock(mutex);
    return events;
  }
  bool waitFor(size_t count) {
    std::unique_lock lock(mutex);
    return arrived.wait_for(lock, 5s, [&] { return events.size() >= count; });
  }
} received;

void recordEvent(service_event_t* event) {
  tools::JsonWriter json;
  tools::writeRecord(json, *event);
  std::function<void()> hook;
  {
    std::lock_guard lock(received.mutex);
    received.events.push_back(
        {event->eventType.rawValue, event->timestamp, event->pid, event->service, event->program, event->user, json.str()});
    hook = received.duringCallback;
  }
  received.arrived.notify_all();
  if (hook) hook();
}

// Hands out prepared inventories, one per poll; nothing once they run out.
class ScriptedServiceUtils final : public IServiceUtils {
 public:
  void push(std::optional<std::vector<ServiceInfo>> inventory) {
    std::lock_guard lock(mutex_);
    inventories_.push_back(std::move(inventory));
  }
  std::optional<std::vector<ServiceInfo>> getServices() override {
    std::lock_guard lock(mutex_);
    if (inventories_.empty()) return std::nullopt;
    auto next = std::move(inventories_.front());
    inventories_.pop_front();
    return next;
  }

 private:
  std::mutex mutex_;
  std::deque<std::optional<std::vector<ServiceInfo>>> inventories_;
};

uint64_t nowMs() {
  return static_cast<uint64_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch()).count());
}

class ServiceChangeEventsTest : public ::testing::Test {
 protected:
  void SetUp() override { received.reset(); }
  void TearDown() override {
    for (auto& source : sources) source->stopListening();
    received.reset();
  }

  std::shared_ptr<ServiceChangeEvents> makeSource(std::chrono::nanoseconds interval = 1h) {
    auto source = ServiceChangeEvents::create(cache.path(), interval, utils);
    source->startListening(recordEvent);
    sources.push_back(source);
    return source;
  }

  std::string cacheFile() const { return cache / "services.plist"; }

  TempFolder cache;
  std::shared_ptr<ScriptedServiceUtils> utils = std::make_shared<ScriptedServiceUtils>();
  std::vector<std::shared_ptr<ServiceChangeEvents>> sources;
  LogCapture logs;
};

const ServiceInfo kMail{"com.apple.mail", "/usr/libexec/mail", "alice"};
const ServiceInfo kSync{"com.example.sync", "/opt/sync", "root"};
const ServiceInfo kBackup{"com.example.backup", "/opt/backup", "root"};

TEST_F(ServiceChangeEventsTest, FirstPollWithoutCacheReportsEveryServiceAsInstalledAndWritesTheFile) {
  utils->push(std::vector<ServiceInfo>{kMail, kSync});
  const auto before = nowMs();
  makeSource()->eventTimerCallback();

  const auto events = received.snapshot();
  ASSERT_EQ(events.size(), 2u);
  for (const auto& event : events) {
    EXPECT_EQ(event.type, 0u);
    EXPECT_EQ(event.pid, 0u);
    EXPECT_GE(event.timestamp, before);
    EXPECT_LE(event.timestamp, nowMs());
  }
  EXPECT_TRUE(logs.containsPrefix("Duration to get service change: "));

  const auto stored = parsePlist(testing::readWholeFile(cacheFile()));
  ASSERT_TRUE(stored);
  const auto decoded = decodeServiceInfos(*stored);
  ASSERT_TRUE(decoded);
  ASSERT_EQ(decoded->size(), 2u);
  EXPECT_EQ((*decoded)[0].service, "com.apple.mail");  // sorted on write
  EXPECT_EQ((*decoded)[0].program, "/usr/libexec/mail");
  EXPECT_EQ((*decoded)[0].user, "alice");
  EXPECT_EQ(testing::readWholeFile(cacheFile()).substr(0, 8), "bplist00");
}

TEST_F(ServiceChangeEventsTest, AChangedProgramIsNoChangeButAMovedUserIsRemovedAndInstalled) {
  utils->push(std::vector<ServiceInfo>{kMail, kSync});
  utils->push(std::vector<ServiceInfo>{{kMail.service, "/elsewhere/mail", kMail.user}, kSync});
  utils->push(std::vector<ServiceInfo>{kMail, {kSync.service, kSync.program, "alice"}});
  auto source = makeSource();
  source->eventTimerCallback();
  received.reset();

  source->eventTimerCallback();
  EXPECT_TRUE(received.snapshot().empty());

  source->eventTimerCallback();
  const auto events = received.snapshot();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].type, 0u) << "installed comes before removed";
  EXPECT_EQ(events[0].user, "alice");
  EXPECT_EQ(events[1].type, 1u);
  EXPECT_EQ(events[1].service, kSync.service);
  EXPECT_EQ(events[1].user, "root");
}

TEST_F(ServiceChangeEventsTest, ANewSourceComparesWithTheFileTheLastOneLeft) {
  utils->push(std::vector<ServiceInfo>{kMail, kSync});
  makeSource()->eventTimerCallback();
  received.reset();

  utils->push(std::vector<ServiceInfo>{kSync, kBackup});
  makeSource()->eventTimerCallback();
  const auto events = received.snapshot();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].type, 0u);
  EXPECT_EQ(events[0].service, kBackup.service);
  EXPECT_EQ(events[1].type, 1u);
  EXPECT_EQ(events[1].service, kMail.service);
  EXPECT_EQ(events[1].program, kMail.program) << "the removed record carries what the file remembered";
}

TEST_F(ServiceChangeEventsTest, ACorruptCacheIsLoggedAndTreatedAsAFirstPoll) {
  for (const std::string& content :
       {std::string("garbage, not a plist"), *encodeBinaryPlist(PlistValue{PlistArray{PlistValue{std::string("x")}}})}) {
    received.reset();
    logs.clear();
    cache.write("services.plist", content);
    utils->push(std::vector<ServiceInfo>{kMail});
    auto source = ServiceChangeEvents::create(cache.path(), 1h, utils);
    source->startListening(recordEvent);
    source->eventTimerCallback();
    source->stopListening();
    EXPECT_TRUE(logs.containsPrefix("Fail to decode cache data with error: "));
    ASSERT_EQ(received.snapshot().size(), 1u);
    EXPECT_EQ(received.snapshot()[0].type, 0u);
  }
}

TEST_F(ServiceChangeEventsTest, AnUnreadableCacheIsLoggedAndTreatedAsAFirstPoll) {
  std::filesystem::create_directories(cacheFile());  // a folder where the file should be
  utils->push(std::vector<ServiceInfo>{kMail});
  makeSource()->eventTimerCallback();
  EXPECT_TRUE(logs.contains("Error reading cache file " + cacheFile()));
  EXPECT_EQ(received.snapshot().size(), 1u);
  EXPECT_TRUE(logs.contains("Fail to write data to file " + cacheFile()));
}

TEST_F(ServiceChangeEventsTest, AFailedInventoryLeavesTheStoredSetAndTheFileAlone) {
  utils->push(std::vector<ServiceInfo>{kMail, kSync});
  utils->push(std::nullopt);
  utils->push(std::vector<ServiceInfo>{kMail, kSync});
  auto source = makeSource();
  source->eventTimerCallback();
  const auto fileBefore = testing::readWholeFile(cacheFile());
  received.reset();

  source->eventTimerCallback();
  EXPECT_TRUE(received.snapshot().empty());
  EXPECT_EQ(testing::readWholeFile(cacheFile()), fileBefore);

  source->eventTimerCallback();
  EXPECT_TRUE(received.snapshot().empty()) << "compared with the set before the failure, not with nothing";
}

TEST_F(ServiceChangeEventsTest, NoCachePathKeepsNoFile) {
  auto source = ServiceChangeEvents::create("", 1h, utils);
  EXPECT_FALSE(source->cacheFileUrl());
  utils->push(std::vector<ServiceInfo>{kMail});
  source->startListening(recordEvent);
  source->eventTimerCallback();
  source->stopListening();
  EXPECT_EQ(received.snapshot().size(), 1u);
}

TEST_F(ServiceChangeEventsTest, TheTimerPollsOnItsOwnAndNothingArrivesAfterStop) {
  for (int i = 0; i < 1000; ++i) utils->push(std::vector<ServiceInfo>{{"com.example." + std::to_string(i), "/p", "u"}});
  auto source = makeSource(20ms);
  ASSERT_TRUE(received.waitFor(3)) << "first poll, then one installed and one removed per tick";
  source->stopListening();
  const auto count = received.snapshot().size();
  source->eventTimerCallback();  // a late tick
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(received.snapshot().size(), count);
}

TEST_F(ServiceChangeEventsTest, StoppingFromInsideTheCallbackDoesNotWaitForItself) {
  utils->push(std::vector<ServiceInfo>{kMail, kSync, kBackup});
  auto source = makeSource();
  std::weak_ptr<ServiceChangeEvents> weak = source;
  {
    std::lock_guard lock(received.mutex);
    received.duringCallback = [weak] {
      if (auto strong = weak.lock()) strong->stopListening();
    };
  }
  source->eventTimerCallback();
  EXPECT_EQ(received.snapshot().size(), 1u) << "the rest of the poll is not delivered";
}

// The launchd inventory over fake tools, through the source, to the JSON the
// reference agent prints.
TEST(ServiceEventsEndToEnd, InstalledServicesReachTheAgentsJson) {
  received.reset();
  TempFolder root;
  testing::FakeTool dscl(root, "dscl");
  testing::FakeTool launchctl(root, "launchctl");
  dscl.on({".", "-list", "/Users", "UniqueID"}, "root 0\n");
  launchctl.on({"asuser", "0", launchctl.path(), "list"}, "PID\tStatus\tLabel\n");
  launchctl.on({"list"}, "PID\tStatus\tLabel\n-\t0\tcom.example.job\n");
  root.write("LaunchDaemons/job.plist",
             "<plist version=\"1.0\"><dict><key>Label</key><string>com.example.job</string>"
             "<key>Program</key><string>/opt/job \"quoted\"</string></dict></plist>");
  auto inventory = std::make_shared<ServiceUtils>(
      std::make_shared<ServiceInfoCache>(std::vector<std::string>{root / "LaunchDaemons"},
                                         [] { return std::vector<std::string>{}; }),
      std::make_shared<ServiceCommandUtils>(defaultCommandRunnerFactory(), dscl.path(), launchctl.path()));
  auto source = ServiceChangeEvents::create(root / "cache", 20ms, inventory);
  source->startListening(recordEvent);
  ASSERT_TRUE(received.waitFor(1));
  source->stopListening();

  const auto event = received.snapshot().front();
  const std::string expectedTail = ",\"pid\":0,\"service\":\"com.example.job\",\"program\":\"/opt/job \\\"quoted\\\"\","
                                   "\"user\":\"root\"}";
  EXPECT_TRUE(event.json.starts_with("{\"eventType\":{\"rawValue\":0},\"timestamp\":")) << event.json;
  EXPECT_TRUE(event.json.ends_with(expectedTail)) << event.json;
  EXPECT_TRUE(std::filesystem::exists(root / "cache/services.plist"));
  received.reset();
}

}  // namespace
}  // namespace sondrel
