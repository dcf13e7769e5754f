// sondrel-agent: the reference host agent. It loads the library as any host
// would, registers the log collector and the chosen families, and streams
// every record as one JSON object per line.

#include <signal.h>
#include <stdlib.h>
#include <time.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "agent/agent_options.h"
#include "agent/record_writers.h"
#include "agent/sondrel_api.h"

using namespace sondrel::tools;

namespace {

SondrelApi api;
std::mutex outputMutex;
uint32_t minimumLogLevel = 1;

uint64_t nowMilliseconds() {
  using namespace std::chrono;
  return static_cast<uint64_t>(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
}

void emitLine(const std::string& line, FILE* stream) {
  std::lock_guard lock(outputMutex);
  std::fwrite(line.data(), 1, line.size(), stream);
  std::fputc('\n', stream);
  std::fflush(stream);
}

// One output line: the family, the time and the record that writeBody writes.
template <typename WriteBody>
void emitEnvelope(const char* family, WriteBody&& writeBody) {
  JsonWriter json;
  json.beginObject().field("family", family).field("time", nowMilliseconds()).key("record");
  writeBody(json);
  json.endObject();
  emitLine(json.str(), stdout);
}

template <typename Record>
void emitRecord(const char* family, const Record* record) {
  emitEnvelope(family, [record](JsonWriter& json) {
    if (record == nullptr) {
      json.null();
    } else {
      writeRecord(json, *record);
    }
  });
}

// Families whose records the header does not lay out yet: the agent can only
// say that one arrived.
void emitOpaqueRecord(const char* family) {
  emitEnvelope(family, [](JsonWriter& json) { json.null(); });
}

void collectLog(uint32_t level, const char* subsystem, const char* message) {
  if (level < minimumLogLevel) return;
  static const char* const names[] = {"verbose", "debug", "info", "warning", "error", "critical"};
  const char* name = level <= 5 ? names[level] : "unknown";
  emitLine(std::string("[") + name + "] " + (subsystem ? subsystem : "") + ": " + (message ? message : ""), stderr);
}

struct Intervals {
  uint32_t devicePerf = 10;
  uint32_t consumerSnapshot = 5;
  uint32_t consumerEvent = 60;
  uint32_t reports = 60;
  uint32_t appChange = 300;
  uint32_t systemUpdate = 3600;
  uint32_t asset = 3600;
  uint32_t service = 60;
  double netRefresh = 30, netStats = 60, netConnectDelay = 5, netStatsDelay = 10;
};

Intervals intervalsFor(const AgentOptions& options) {
  Intervals intervals;
  if (!options.interval) return intervals;
  const uint32_t every = *options.interval;
  intervals.devicePerf = intervals.consumerEvent = intervals.reports = every;
  intervals.appChange = intervals.systemUpdate = intervals.asset = intervals.service = every;
  intervals.consumerSnapshot = every / 5 < 2 ? 2 : every / 5;  // the sampler refuses less than two seconds
  intervals.netRefresh = intervals.netStats = every;
  return intervals;
}

void registerFamilies(const AgentOptions& options) {
  const Intervals every = intervalsFor(options);
  const char* cache = options.cacheDir.c_str();
  const auto& wanted = options.families;
  if (wanted.contains("user")) {
    api.registerUserEventsCallback([](user_event_t* e) { emitRecord("user", e); });
  }
  if (wanted.contains("process")) {
    api.registerProcessEventsCallback([](process_event_t* e) { emitRecord("process", e); });
  }
  if (wanted.contains("devicePerf")) {
    api.registerDevicePerfEventsCallback([](device_perf_event_t* e) { emitRecord("devicePerf", e); },
                                         every.devicePerf);
  }
  if (wanted.contains("resourceConsumer")) {
    api.registerResourceConsumerEventsCallback(
        [](resource_consumer_event_t* e) { emitRecord("resourceConsumer", e); }, every.consumerSnapshot,
        every.consumerEvent);
  }
  if (wanted.contains("appCrash")) {
    api.registerAppCrashEventsCallback([](app_crash_event_t* e) { emitRecord("appCrash", e); }, cache,
                                       every.reports);
  }
  if (wanted.contains("systemCrash")) {
    api.registerSystemCrashEventsCallback([](system_crash_event_t* e) { emitRecord("systemCrash", e); }, cache,
                                          every.reports);
  }
  if (wanted.contains("appHang")) {
    api.registerAppHangEventsCallback([](app_hang_event_t* e) { emitRecord("appHang", e); }, cache, every.reports);
  }
  if (wanted.contains("appUnresponsive")) {
    api.registerAppUnresponsiveEventsCallback([](app_unresponsive_event_t*) { emitOpaqueRecord("appUnresponsive"); });
  }
  if (wanted.contains("appChange")) {
    api.registerAppChangeEventsCallback([](app_change_event_t*) { emitOpaqueRecord("appChange"); }, cache,
                                        every.appChange);
  }
  if (wanted.contains("systemUpdate")) {
    api.registerSystemUpdateEventsCallback([](system_update_event_t*) { emitOpaqueRecord("systemUpdate"); }, cache,
                                           every.systemUpdate);
  }
  if (wanted.contains("asset")) {
    api.registerAssetEventsCallback([](asset_event_t*) { emitOpaqueRecord("asset"); }, every.asset);
  }
  if (wanted.contains("service")) {
    api.registerServiceEventsCallback([](service_event_t* e) { emitRecord("service", e); }, cache, every.service);
  }
  if (wanted.contains("netAdapter") || wanted.contains("netL2")) {
    NetAdapterEventCallback adapter = nullptr;
    NetL2EventCallback network = nullptr;
    if (wanted.contains("netAdapter")) adapter = [](device_network_adapter_t*) { emitOpaqueRecord("netAdapter"); };
    if (wanted.contains("netL2")) network = [](net_event_l2_t*) { emitOpaqueRecord("netL2"); };
    api.registerNetEventsCallback(adapter, network, every.netRefresh, every.netStats, every.netConnectDelay,
                                  every.netStatsDelay);
  }
}

void unregisterFamilies(const AgentOptions& options) {
  const auto& wanted = options.families;
  if (wanted.contains("user")) api.unregisterUserEventsCallback();
  if (wanted.contains("process")) api.unregisterProcessEventsCallback();
  if (wanted.contains("devicePerf")) api.unregisterDevicePerfEventsCallback();
  if (wanted.contains("resourceConsumer")) api.unregisterResourceConsumerEventsCallback();
  if (wanted.contains("appCrash")) api.unregisterAppCrashEventsCallback();
  if (wanted.contains("systemCrash")) api.unregisterSystemCrashEventsCallback();
  if (wanted.contains("appHang")) api.unregisterAppHangEventsCallback();
  if (wanted.contains("appUnresponsive")) api.unregisterAppUnresponsiveEventsCallback();
  if (wanted.contains("appChange")) api.unregisterAppChangeEventsCallback();
  if (wanted.contains("systemUpdate")) api.unregisterSystemUpdateEventsCallback();
  if (wanted.contains("asset")) api.unregisterAssetEventsCallback();
  if (wanted.contains("service")) api.unregisterServiceEventsCallback();
  if (wanted.contains("netAdapter") || wanted.contains("netL2")) api.unregisterNetEventsCallback();
}

std::string libraryBesideProgram(const char* argv0) {
  char resolved[4096];
  if (argv0 != nullptr && realpath(argv0, resolved) != nullptr) {
    std::string path(resolved);
    const auto slash = path.find_last_of('/');
    if (slash != std::string::npos) return path.substr(0, slash + 1) + SONDREL_DEFAULT_LIBRARY;
  }
  return SONDREL_DEFAULT_LIBRARY;
}

}  // namespace

int main(int argc, char** argv) {
  std::string error;
  auto options = parseAgentOptions(std::vector<std::string>(argv + 1, argv + argc), &error);
  if (!options) {
    std::fprintf(stderr, "sondrel-agent: %s\n%s", error.c_str(), agentUsage());
    return 2;
  }
  if (options->help) {
    std::fputs(agentUsage(), stdout);
    return 0;
  }
  minimumLogLevel = options->logLevel;

  // Signals are taken by one waiting thread; every other thread, the
  // library's included, inherits the blocked mask.
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGINT);
  sigaddset(&stopSignals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

  const std::string library = options->library.empty() ? libraryBesideProgram(argv[0]) : options->library;
  if (!loadSondrelApi(library, api, &error)) {
    std::fprintf(stderr, "sondrel-agent: cannot load %s: %s\n", library.c_str(), error.c_str());
    return 1;
  }

  api.registerLogsCollectorCallback(collectLog);
  registerFamilies(*options);

  std::atomic<bool> loopReturned{false};
  std::thread stopper([&] {
    if (options->durationSeconds) {
      const double seconds = *options->durationSeconds;
      timespec timeout{static_cast<time_t>(seconds), static_cast<long>((seconds - static_cast<time_t>(seconds)) * 1e9)};
      while (sigtimedwait(&stopSignals, nullptr, &timeout) < 0 && errno == EINTR) {
      }
    } else {
      int signal = 0;
      sigwait(&stopSignals, &signal);
    }
    unregisterFamilies(*options);
    // The main thread may not have entered the loop yet; keep asking until it has left it.
    while (!loopReturned.load()) {
      api.exitMainLoop();
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  });

  api.initMainLoop();
  loopReturned.store(true);
  stopper.join();
  api.unregisterLogsCollectorCallback();
  return 0;
}
