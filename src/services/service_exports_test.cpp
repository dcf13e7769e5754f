// The service family through its C exports: the slot, and the log lines in
// this family's own order.

#include <gtest/gtest.h>

#include "frame/slots.h"
#include "sondrel/sondrel.h"
#include "test_support/log_capture.h"

namespace {

using sondrel::testing::LogCapture;

void ignoreEvent(service_event_t*) {}

TEST(ServiceExports, ASecondRegisterStillLogsItsPathAndKeepsTheFirstSource) {
  LogCapture logs;
  registerServiceEventsCallback(ignoreEvent, "/tmp/sondrel-first", 3600);
  ASSERT_TRUE(sondrel::Slots::serviceChangeEvents().isSet());
  const auto first = sondrel::Slots::serviceChangeEvents().get();

  registerServiceEventsCallback(ignoreEvent, "/tmp/sondrel-second", 3600);
  EXPECT_TRUE(logs.contains("::registerServiceEventsCallback with cache /tmp/sondrel-first"));
  EXPECT_TRUE(logs.contains("::registerServiceEventsCallback with cache /tmp/sondrel-second"));
  EXPECT_EQ(sondrel::Slots::serviceChangeEvents().get(), first);

  unregisterServiceEventsCallback();
  EXPECT_FALSE(sondrel::Slots::serviceChangeEvents().isSet());
  unregisterServiceEventsCallback();
  EXPECT_EQ(logs.count(":: unregisterServiceEventsCallback"), 2u);
}

TEST(ServiceExports, ANullPathAndAZeroIntervalStillRegister) {
  LogCapture logs;
  registerServiceEventsCallback(ignoreEvent, nullptr, 0);
  EXPECT_TRUE(logs.contains("::registerServiceEventsCallback with cache (null)"));
  EXPECT_TRUE(sondrel::Slots::serviceChangeEvents().isSet());
  unregisterServiceEventsCallback();
  EXPECT_FALSE(sondrel::Slots::serviceChangeEvents().isSet());
}

}  // namespace
