#include "session/console_user.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/slots.h"

namespace sondrel {
namespace {

struct Reported {
  uint32_t eventType;
  std::string userName;
  uint32_t sid;
};
std::vector<Reported> reported;
void collectUserEvent(user_event_t* event) {
  reported.push_back({event->eventType, event->userName ? event->userName : "", event->sid});
}

class RecordingObserver : public IConsoleUserObserver {
 public:
  void onUserSwitched(const std::optional<std::string>& name) override { switched.push_back(name); }
  std::vector<std::optional<std::string>> switched;
};

class ConsoleUserChange : public ::testing::Test {
 protected:
  void SetUp() override {
    reported.clear();
    ConsoleUser::setSavedUserName(std::nullopt);
    ConsoleUser::setUserEventsCallback(collectUserEvent);
  }
  void TearDown() override {
    ConsoleUser::setUserEventsCallback(nullptr);
    ConsoleUser::setSavedUserName(std::nullopt);
  }
  RecordingObserver observer;
};

TEST_F(ConsoleUserChange, LogOnSwitchAndLogOutAreReportedInOrder) {
  ConsoleUser::handleConsoleUserChange("alice", &observer);
  ConsoleUser::handleConsoleUserChange("bob", &observer);
  ConsoleUser::handleConsoleUserChange("loginwindow", &observer);

  ASSERT_EQ(reported.size(), 4u);
  EXPECT_EQ(reported[0].eventType, static_cast<uint32_t>(UE_LOGON));
  EXPECT_EQ(reported[0].userName, "alice");
  EXPECT_EQ(reported[1].eventType, static_cast<uint32_t>(UE_LOGOUT)) << "the old user leaves first";
  EXPECT_EQ(reported[1].userName, "alice");
  EXPECT_EQ(reported[2].eventType, static_cast<uint32_t>(UE_LOGON));
  EXPECT_EQ(reported[2].userName, "bob");
  EXPECT_EQ(reported[3].eventType, static_cast<uint32_t>(UE_LOGOUT)) << "the login window is nobody";
  EXPECT_EQ(reported[3].userName, "bob");
  for (const auto& event : reported) EXPECT_EQ(event.sid, 0u);
  EXPECT_FALSE(ConsoleUser::savedUser().has_value());
  const std::vector<std::optional<std::string>> expected = {"alice", "bob", std::nullopt};
  EXPECT_EQ(observer.switched, expected);
}

TEST_F(ConsoleUserChange, NothingIsReportedForTheSameUserOrForNobodyToNobody) {
  ConsoleUser::handleConsoleUserChange(std::nullopt, &observer);
  ConsoleUser::handleConsoleUserChange("alice", &observer);
  ConsoleUser::handleConsoleUserChange("alice", &observer);
  EXPECT_EQ(reported.size(), 1u);
  EXPECT_EQ(observer.switched.size(), 2u) << "a repeat is still passed on to the source";
}

TEST_F(ConsoleUserChange, WithoutACallbackNothingHappensAtAll) {
  ConsoleUser::setUserEventsCallback(nullptr);
  ConsoleUser::handleConsoleUserChange("alice", &observer);
  EXPECT_TRUE(reported.empty());
  EXPECT_TRUE(observer.switched.empty());
  EXPECT_FALSE(ConsoleUser::savedUser().has_value());
}

class FollowingSource : public IUserFollowingSource {
 public:
  void stopListening() override {}
  void onUserSwitched(const std::optional<std::string>& name) override { seen.push_back(name); }
  std::vector<std::optional<std::string>> seen;
};

TEST(UserSwitched, ReachesRegisteredFollowersAndIsKeptForLaterOnes) {
  auto process = std::make_shared<FollowingSource>();
  Slots::processEvents().registerOnce([&] { return process; }, [](IUserFollowingSource&) {});
  ConsoleUser::userSwitched("carol");
  Slots::processEvents().unregister();
  ConsoleUser::userSwitched(std::nullopt);
  ConsoleUser::userSwitched("dave");

  EXPECT_EQ(process->seen, std::vector<std::optional<std::string>>{"carol"});
  EXPECT_EQ(ConsoleUser::lastSwitchedUser(), "dave");
}

}  // namespace
}  // namespace sondrel
