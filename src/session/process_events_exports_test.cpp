// The process family through its C exports, as a host uses it.

#include <gtest/gtest.h>

#include <string>

#include "sondrel/sondrel.h"
#include "test_support/log_capture.h"

namespace {

void ignoreEvent(process_event_t*) {}

TEST(ProcessEventsExports, SwitchSeenBeforeRegisterReachesTheSourceBeforeItListens) {
  sondrel::testing::LogCapture logs;
  userSwitched("bob");
  registerProcessEventsCallback(ignoreEvent);
  ASSERT_NE(currentUserName, nullptr);
  EXPECT_EQ(std::string(currentUserName), "bob");
  EXPECT_EQ(processEventsCallback, &ignoreEvent);
  const auto lines = logs.lines();
  size_t switched = lines.size(), registered = lines.size();
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].message == "::registerProcessEventsCallback") registered = i;
    if (lines[i].message == "ProcessEvents::onUserSwitched bob" && switched == lines.size()) switched = i;
  }
  EXPECT_LT(registered, switched);

  // A second register keeps the first source; unregister twice is harmless.
  registerProcessEventsCallback(nullptr);
  EXPECT_EQ(processEventsCallback, &ignoreEvent);
  unregisterProcessEventsCallback();
  EXPECT_EQ(processEventsCallback, nullptr);
  unregisterProcessEventsCallback();
  EXPECT_EQ(logs.count("::unregisterProcessEventsCallback"), 2u);
  EXPECT_EQ(logs.count("ProcessEvents::stopListening"), 1u);
  userSwitched(nullptr);
}

}  // namespace
