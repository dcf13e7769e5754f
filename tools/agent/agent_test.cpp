#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "agent/agent_options.h"
#include "agent/families.h"
#include "agent/record_writers.h"
#include "agent/sondrel_api.h"

namespace sondrel::tools {
namespace {

TEST(AgentOptions, DefaultsToEveryFamilyAndChecksEveryValue) {
  std::string error;
  auto defaults = parseAgentOptions({}, &error);
  ASSERT_TRUE(defaults);
  EXPECT_EQ(defaults->families.size(), allFamilies().size());
  EXPECT_FALSE(defaults->interval);

  auto chosen = parseAgentOptions({"--families", "devicePerf,service", "--interval", "2", "--duration", "1.5",
                                   "--cache-dir", "/tmp/c", "--log-level", "3"},
                                  &error);
  ASSERT_TRUE(chosen) << error;
  EXPECT_EQ(chosen->families, (std::set<std::string>{"devicePerf", "service"}));
  EXPECT_EQ(chosen->interval, 2u);
  EXPECT_EQ(chosen->durationSeconds, 1.5);
  EXPECT_EQ(chosen->cacheDir, "/tmp/c");
  EXPECT_EQ(chosen->logLevel, 3u);

  EXPECT_FALSE(parseAgentOptions({"--families", "devicePerf,bogus"}, &error));
  EXPECT_NE(error.find("bogus"), std::string::npos);
  EXPECT_FALSE(parseAgentOptions({"--interval", "0"}, &error));
  EXPECT_FALSE(parseAgentOptions({"--interval", "-5"}, &error));
  EXPECT_FALSE(parseAgentOptions({"--log-level", "6"}, &error));
  EXPECT_FALSE(parseAgentOptions({"--duration"}, &error));
  EXPECT_FALSE(parseAgentOptions({"--verbose", "x"}, &error));
}

TEST(JsonWriter, EscapesTextAndReplacesBytesThatAreNotUtf8) {
  JsonWriter json;
  json.beginObject()
      .field("quote", "say \"hi\"\\\n\t\x01")
      .field("cut", "caf\xc3")
      .field("null", static_cast<const char*>(nullptr))
      .field("nan", 0.0 / 0.0)
      .key("list")
      .beginArray()
      .value(uint32_t{1})
      .beginObject()
      .endObject()
      .endArray()
      .endObject();
  EXPECT_EQ(json.str(),
            R"({"quote":"say \"hi\"\\\n\t\u0001","cut":"caf\ufffd","null":null,"nan":null,"list":[1,{}]})");
}

TEST(RecordWriters, FixedArraysStopAtTheirEndAndCountsAtTheirCapacity) {
  app_crash_event_t crash{};
  std::memset(crash.application, 'A', sizeof crash.application);  // no NUL at all
  JsonWriter crashJson;
  writeRecord(crashJson, crash);
  EXPECT_NE(crashJson.str().find("\"application\":\"" + std::string(256, 'A') + "\""), std::string::npos);

  device_perf_event_t perf{};
  perf.gpu_count = 7;  // more processors than the record holds
  JsonWriter perfJson;
  writeRecord(perfJson, perf);
  const std::string text = perfJson.str();
  size_t models = 0;
  for (size_t at = text.find("\"model\""); at != std::string::npos; at = text.find("\"model\"", at + 1)) ++models;
  EXPECT_EQ(models, 3u);
  EXPECT_NE(text.find("\"gpu_count\":7"), std::string::npos);
}

TEST(RecordWriters, ProcessArgumentsKeepNullEntries) {
  char path[] = "/bin/ls";
  char first[] = "ls";
  char* argv[] = {first, nullptr};
  process_event_t event{};
  event.eventType = PE_PROCESS_STARTED;
  event.path = path;
  event.argc = 2;
  event.argv = argv;
  JsonWriter json;
  writeRecord(json, event);
  EXPECT_NE(json.str().find(R"("argv":["ls",null])"), std::string::npos) << json.str();
  EXPECT_NE(json.str().find(R"("user":null)"), std::string::npos);
}

// What a fake library was asked to do, in order.
std::vector<std::string> libraryCalls;

SondrelApi recordingApi() {
  SondrelApi api;
  api.registerUserEventsCallback = [](UserEventCallback) { libraryCalls.push_back("register user"); };
  api.unregisterUserEventsCallback = [] { libraryCalls.push_back("unregister user"); };
  api.registerServiceEventsCallback = [](ServiceEventCallback, const char* cache, uint32_t interval) {
    libraryCalls.push_back("register service " + std::string(cache) + " " + std::to_string(interval));
  };
  api.unregisterServiceEventsCallback = [] { libraryCalls.push_back("unregister service"); };
  api.registerNetEventsCallback = [](NetAdapterEventCallback adapter, NetL2EventCallback network, double, double,
                                     double, double) {
    libraryCalls.push_back(std::string("register net") + (adapter ? " adapter" : "") + (network ? " l2" : ""));
  };
  api.unregisterNetEventsCallback = [] { libraryCalls.push_back("unregister net"); };
  return api;
}

// The two network families share one library registration: it happens once,
// with a callback for each chosen one only.
TEST(AgentFamilies, RegisterInTableOrderAndTheNetworkPairOnce) {
  const SondrelApi api = recordingApi();
  std::string error;
  auto options =
      parseAgentOptions({"--families", "netL2,service,user", "--interval", "7", "--cache-dir", "/c"}, &error);
  ASSERT_TRUE(options) << error;
  libraryCalls.clear();
  registerFamilies(api, *options);
  unregisterFamilies(api, *options);
  EXPECT_EQ(libraryCalls, (std::vector<std::string>{"register user", "register service /c 7", "register net l2",
                                                    "unregister user", "unregister service", "unregister net"}));

  options = parseAgentOptions({"--families", "netL2,netAdapter"}, &error);
  ASSERT_TRUE(options) << error;
  libraryCalls.clear();
  registerFamilies(api, *options);
  unregisterFamilies(api, *options);
  EXPECT_EQ(libraryCalls, (std::vector<std::string>{"register net adapter l2", "unregister net"}));
}

}  // namespace
}  // namespace sondrel::tools
