#include "session/process_events.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "session/audit_pipe_reader.h"
#include "session/console_user.h"
#include "test_support/bsm_builder.h"
#include "test_support/fake_process_table.h"
#include "test_support/log_capture.h"
#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

using namespace std::chrono_literals;
using testing::BsmRecordBuilder;
using testing::FakeProcessTable;

// A copy of what the callback saw, taken during the call.
struct SeenRecord {
  uint32_t eventType, auditEventType, pid, ppid, uid, exitStatus, argc;
  std::optional<std::string> path, user, copyright, version;
  std::vector<std::optional<std::string>> argv;
};

std::optional<std::string> text(const char* value) { return value ? std::optional<std::string>(value) : std::nullopt; }

// The C callback has no context: the test in progress keeps its state here.
struct Recorder {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<SeenRecord> records;
  std::function<void()> duringCallback;

  static Recorder*& current() {
    static Recorder* recorder = nullptr;
    return recorder;
  }
  static void callback(process_event_t* event) {
    Recorder* self = current();
    SeenRecord seen{event->eventType, event->auditEventType, event->pid, event->ppid, event->uid,
                    event->exitStatus, event->argc, text(event->path), text(event->user),
                    text(event->copyright), text(event->version), {}};
    for (uint32_t i = 0; i < event->argc; ++i) seen.argv.push_back(text(event->argv[i]));
    if (self->duringCallback) self->duringCallback();
    std::lock_guard lock(self->mutex);
    self->records.push_back(std::move(seen));
    self->changed.notify_all();
  }
  bool waitFor(size_t count) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, 10s, [&] { return records.size() >= count; });
  }
  size_t size() {
    std::lock_guard lock(mutex);
    return records.size();
  }
};

class FakeReader final : public IProcessEventReader {
 public:
  bool start(ProcessChangeSink sink) override {
    sink_ = std::move(sink);
    return true;
  }
  void stop() override { ++stops; }
  void deliver(const ProcessChange& change) { sink_(change); }
  int stops = 0;

 private:
  ProcessChangeSink sink_;
};

class FakeWorkspace final : public IWorkspaceObserver {
 public:
  void addObservers(WorkspaceHandler handler) override {
    handler_ = std::move(handler);
    ++adds;
  }
  void removeObservers() override { handler_ = nullptr; }
  void post(WorkspaceChange change, uint32_t pid) {
    if (handler_) handler_(change, pid);
  }
  int adds = 0;

 private:
  WorkspaceHandler handler_;
};

class ProcessEventsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Recorder::current() = &recorder;
    table.add(1, {{0, 0, 0, 0}, "/sbin/launchd", {}});
    table.add(300, {{1, 0, 0, 0}, "/bin/zsh", {}});
  }
  void TearDown() override {
    if (events) events->stopListening();
    Recorder::current() = nullptr;
  }
  void startWithFakes() {
    auto reader = std::make_unique<FakeReader>();
    auto workspace = std::make_unique<FakeWorkspace>();
    fakeReader = reader.get();
    fakeWorkspace = workspace.get();
    events = ProcessEvents::create(std::move(reader), table, std::move(workspace));
    events->startListening(Recorder::callback);
  }
  static ProcessChange started(uint32_t pid, std::string path, std::vector<std::string> arguments, uint16_t type = 23) {
    ProcessChange change;
    change.process.type = type;
    change.process.pid = pid;
    change.process.uid = 0;
    change.process.path = std::move(path);
    change.process.arguments = std::move(arguments);
    return change;
  }

  Recorder recorder;
  FakeProcessTable table;
  std::shared_ptr<ProcessEvents> events;
  FakeReader* fakeReader = nullptr;
  FakeWorkspace* fakeWorkspace = nullptr;
};

TEST_F(ProcessEventsTest, StartRecordCarriesCopiesOfEveryField) {
  startWithFakes();
  auto change = started(4242, "/usr/bin/git", {"git", "", "status"});
  change.process.ppid = 300;
  fakeReader->deliver(change);
  ASSERT_EQ(recorder.size(), 1u);
  const auto& seen = recorder.records[0];
  EXPECT_EQ(seen.eventType, static_cast<uint32_t>(PE_PROCESS_STARTED));
  EXPECT_EQ(seen.auditEventType, 23u);
  EXPECT_EQ(seen.pid, 4242u);
  EXPECT_EQ(seen.ppid, 300u);
  EXPECT_EQ(seen.path, "/usr/bin/git");
  EXPECT_EQ(seen.user, "root");
  EXPECT_EQ(seen.exitStatus, 0u);  // no exit token: 0, not the unset marker
  ASSERT_EQ(seen.argc, 3u);
  EXPECT_EQ(seen.argv[0], "git");
  EXPECT_EQ(seen.argv[1], std::nullopt);  // an empty argument is a null entry
  EXPECT_EQ(seen.argv[2], "status");
  EXPECT_EQ(seen.copyright, std::nullopt);
}

TEST_F(ProcessEventsTest, StartsWithoutPidOrPathAreNotReportedUnlessGone) {
  startWithFakes();
  fakeReader->deliver(started(kUnsetId, "/bin/ls", {}));
  fakeReader->deliver(started(4243, "", {}));
  EXPECT_EQ(recorder.size(), 0u);
  // A process gone before it could be read is still reported, with what the event carried.
  auto gone = started(4244, "", {});
  gone.detailsGone = true;
  fakeReader->deliver(gone);
  ASSERT_EQ(recorder.size(), 1u);
  EXPECT_EQ(recorder.records[0].path, std::nullopt);
  EXPECT_EQ(recorder.records[0].pid, 4244u);
}

TEST_F(ProcessEventsTest, MissingParentIsLookedUpAndExitsCarryTheirStatus) {
  table.add(4245, {{300, 0, 0, 0}, "/bin/sleep", {}});
  startWithFakes();
  fakeReader->deliver(started(4245, "/bin/sleep", {"sleep", "1"}));
  ProcessChange exit;
  exit.kind = ProcessChange::ended;
  exit.process.type = 1;
  exit.process.pid = 4245;
  exit.process.uid = 0;
  exit.process.exit = 2;
  fakeReader->deliver(exit);
  ASSERT_EQ(recorder.size(), 2u);
  EXPECT_EQ(recorder.records[0].ppid, 300u);
  EXPECT_EQ(recorder.records[1].eventType, static_cast<uint32_t>(PE_PROCESS_ENDED));
  EXPECT_EQ(recorder.records[1].exitStatus, 2u);
  EXPECT_EQ(recorder.records[1].path, std::nullopt);
  EXPECT_EQ(recorder.records[1].user, "root");
}

TEST_F(ProcessEventsTest, ApplicationsInBundlesCarryCopyrightAndVersion) {
  testing::TempFolder folder;
  folder.write("Demo.app/Contents/Info.plist",
               "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
               "<key>NSHumanReadableCopyright</key><string>© 2026 Demo</string>"
               "<key>CFBundleShortVersionString</key><string>4.2</string></dict></plist>\n");
  const std::string executable = folder.write("Demo.app/Contents/MacOS/Demo", "");
  startWithFakes();
  fakeReader->deliver(started(5001, executable, {executable}));
  ASSERT_EQ(recorder.size(), 1u);
  EXPECT_EQ(recorder.records[0].copyright, "© 2026 Demo");
  EXPECT_EQ(recorder.records[0].version, "4.2");
}

TEST_F(ProcessEventsTest, WorkspaceActivationsBecomeActivationRecords) {
  table.add(812, {{1, 0, 0, 0}, "/Applications/Safari.app/Contents/MacOS/Safari", {"Safari"}});
  startWithFakes();
  fakeWorkspace->post(WorkspaceChange::activated, 812);
  fakeWorkspace->post(WorkspaceChange::deactivated, 812);
  fakeWorkspace->post(WorkspaceChange::activated, 999);  // gone: nothing
  ASSERT_EQ(recorder.size(), 2u);
  EXPECT_EQ(recorder.records[0].eventType, static_cast<uint32_t>(PE_APP_ACTIVATED));
  EXPECT_EQ(recorder.records[0].auditEventType, 0u);
  EXPECT_EQ(recorder.records[0].path, "/Applications/Safari.app/Contents/MacOS/Safari");
  EXPECT_EQ(recorder.records[1].eventType, static_cast<uint32_t>(PE_APP_DEACTIVATED));
  EXPECT_EQ(recorder.records[1].path, std::nullopt);
}

TEST_F(ProcessEventsTest, UserSwitchKeepsTheNameAndRenewsObservers) {
  testing::LogCapture logs;
  startWithFakes();
  const int addsBefore = fakeWorkspace->adds;
  events->onUserSwitched(std::string("alice"));
  EXPECT_TRUE(logs.contains("ProcessEvents::onUserSwitched alice"));
  EXPECT_EQ(fakeWorkspace->adds, addsBefore + 1);
  EXPECT_STREQ(currentUserName, "alice");
  events->stopListening();
  EXPECT_TRUE(logs.contains("ProcessEvents::stopListening"));
  EXPECT_EQ(processEventsCallback, nullptr);
  events->onUserSwitched(std::nullopt);
  EXPECT_EQ(fakeWorkspace->adds, addsBefore + 1);  // a stopped source observes nothing
  EXPECT_EQ(currentUserName, nullptr);
  fakeWorkspace->post(WorkspaceChange::activated, 300);
  fakeReader->deliver(started(4246, "/bin/ls", {}));
  EXPECT_EQ(recorder.size(), 0u);
}

// The macOS reader end to end, over a pipe standing in for /dev/auditpipe.
class AuditPipeEventsTest : public ProcessEventsTest {
 protected:
  void start(std::function<std::optional<uint64_t>()> readDrops = nullptr) {
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    writeEnd.reset(fds[1]);
    auto reader = std::make_unique<AuditPipeReader>(
        [fd = fds[0], readDrops]() -> std::optional<AuditPipe> { return AuditPipe{UniqueFd(fd), readDrops}; }, table);
    events = ProcessEvents::create(std::move(reader), table, std::make_unique<FakeWorkspace>());
    events->startListening(Recorder::callback);
  }
  void write(const std::vector<uint8_t>& bytes) {
    ASSERT_EQ(::write(writeEnd.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  std::vector<uint8_t> spawnRecord(uint32_t child) {
    return BsmRecordBuilder(43190)
        .arg32(0, child, "child PID")
        .execArgs({"/usr/bin/true"})
        .path("/usr/bin/true")
        .subject32(300)
        .return32(0, 0)
        .identity("com.apple.true", "")
        .build();
  }
  UniqueFd writeEnd;
};

TEST_F(AuditPipeEventsTest, RecordsSplitAcrossWritesReachTheCallback) {
  start();
  const auto record = spawnRecord(6001);
  write(std::vector<uint8_t>(record.begin(), record.begin() + 30));
  std::this_thread::sleep_for(20ms);
  write(std::vector<uint8_t>(record.begin() + 30, record.end()));
  ASSERT_TRUE(recorder.waitFor(1));
  EXPECT_EQ(recorder.records[0].pid, 6001u);
  EXPECT_EQ(recorder.records[0].ppid, 300u);
  EXPECT_EQ(recorder.records[0].auditEventType, 43190u);
}

TEST_F(AuditPipeEventsTest, StopWakesTheReaderAtOnceAndNothingArrivesAfter) {
  start();
  write(spawnRecord(6002));
  ASSERT_TRUE(recorder.waitFor(1));
  const auto before = std::chrono::steady_clock::now();
  events->stopListening();  // the reader is blocked waiting for a record that never comes
  EXPECT_LT(std::chrono::steady_clock::now() - before, 2s);
  write(spawnRecord(6003));
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(recorder.size(), 1u);
}

TEST_F(AuditPipeEventsTest, UnregisteringFromInsideTheCallbackDoesNotWaitForItself) {
  start();
  recorder.duringCallback = [this] {
    if (recorder.records.empty()) events->stopListening();
  };
  write(testing::concatenate({spawnRecord(6004), spawnRecord(6005)}));
  ASSERT_TRUE(recorder.waitFor(1));
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(recorder.size(), 1u);
}

// What the slot does when the host unregisters from its callback: stop, then
// drop the last reference while the reader thread is still inside the call.
TEST_F(AuditPipeEventsTest, ReleasedFromInsideTheCallbackTheReaderWindsDownSafely) {
  start();
  recorder.duringCallback = [this] {
    if (!events) return;
    events->stopListening();
    events.reset();
  };
  write(testing::concatenate({spawnRecord(6007), spawnRecord(6008), spawnRecord(6009)}));
  ASSERT_TRUE(recorder.waitFor(1));
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(recorder.size(), 1u);
}

TEST_F(AuditPipeEventsTest, GrowingDropCountIsLogged) {
  testing::LogCapture logs;
  std::atomic<uint64_t> drops{2};
  start([&drops]() -> std::optional<uint64_t> { return drops.load(); });
  drops = 5;
  write(spawnRecord(6006));
  ASSERT_TRUE(recorder.waitFor(1));
  events->stopListening();
  EXPECT_TRUE(logs.contains("The audit pipe dropped 3 records (5 since it was opened)"));
}

}  // namespace
}  // namespace sondrel
