// An exec storm: as many short processes as the machine starts, each of which
// must reach the process callback as a start and an end. Reports what was
// delivered against what was started, and the reader thread's processor time
// per thousand events. Needs a live event source (root on Linux).

#include <benchmark/benchmark.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "sondrel/sondrel.h"

extern char** environ;

namespace {

using namespace std::chrono_literals;

struct Storm {
  std::mutex mutex;
  std::condition_variable changed;
  std::set<uint32_t> started, ended;
  uint64_t events = 0;
  pthread_t readerThread{};
  bool haveReader = false;
};

Storm* storm = nullptr;

void onEvent(process_event_t* event) {
  std::lock_guard lock(storm->mutex);
  if (!storm->haveReader) {
    storm->readerThread = ::pthread_self();
    storm->haveReader = true;
  }
  ++storm->events;
  if (event->ppid != static_cast<uint32_t>(::getpid())) return;
  if (event->eventType == PE_PROCESS_STARTED && event->auditEventType != 2) storm->started.insert(event->pid);
  if (event->eventType == PE_PROCESS_ENDED) storm->ended.insert(event->pid);
  storm->changed.notify_all();
}

double threadCpuSeconds(pthread_t thread) {
  clockid_t clock;
  timespec now{};
  if (::pthread_getcpuclockid(thread, &clock) != 0 || ::clock_gettime(clock, &now) != 0) return 0;
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

pid_t spawnTrue() {
  char program[] = "/bin/true";
  char* argv[] = {program, nullptr};
  pid_t child = 0;
  return ::posix_spawn(&child, "/bin/true", nullptr, nullptr, argv, environ) == 0 ? child : -1;
}

// As a host agent does: keep warnings and errors, let per-event debug lines go.
void quietCollector(uint32_t level, const char*, const char* message) {
  if (level >= SONDREL_LOG_WARNING) std::fprintf(stderr, "%s\n", message);
}

void ProcessExecStorm(benchmark::State& state) {
  Storm local;
  storm = &local;
  registerLogsCollectorCallback(quietCollector);
  registerProcessEventsCallback(onEvent);
  // Without a working source (not root, no audit pipe) there is nothing to measure.
  const pid_t probe = spawnTrue();
  ::waitpid(probe, nullptr, 0);
  {
    std::unique_lock lock(local.mutex);
    if (!local.changed.wait_for(lock, 3s, [&] { return local.ended.count(static_cast<uint32_t>(probe)) != 0; })) {
      lock.unlock();
      unregisterProcessEventsCallback();
      unregisterLogsCollectorCallback();
      storm = nullptr;
      state.SkipWithError("no process events on this machine (the process connector needs root)");
      return;
    }
  }
  const auto processes = static_cast<size_t>(state.range(0));
  std::vector<pid_t> children;
  double cpuBefore = 0;
  for (auto _ : state) {
    {
      std::lock_guard lock(local.mutex);
      local.started.clear();
      local.ended.clear();
      local.events = 0;
      cpuBefore = threadCpuSeconds(local.readerThread);
    }
    children.clear();
    // Up to 64 in flight: as fast as the machine starts them, without
    // running out of process slots.
    std::vector<pid_t> inFlight;
    for (size_t i = 0; i < processes; ++i) {
      if (inFlight.size() >= 64) {
        ::waitpid(inFlight.front(), nullptr, 0);
        inFlight.erase(inFlight.begin());
      }
      const pid_t child = spawnTrue();
      if (child > 0) {
        children.push_back(child);
        inFlight.push_back(child);
      }
    }
    for (pid_t child : inFlight) ::waitpid(child, nullptr, 0);
    std::unique_lock lock(local.mutex);
    local.changed.wait_for(lock, 30s, [&] { return local.ended.size() >= children.size(); });
  }
  std::lock_guard lock(local.mutex);
  size_t startsDelivered = 0, endsDelivered = 0;
  for (pid_t child : children) {
    startsDelivered += local.started.count(static_cast<uint32_t>(child));
    endsDelivered += local.ended.count(static_cast<uint32_t>(child));
  }
  const double cpu = threadCpuSeconds(local.readerThread) - cpuBefore;
  state.counters["started"] = static_cast<double>(children.size());
  state.counters["starts_delivered"] = static_cast<double>(startsDelivered);
  state.counters["ends_delivered"] = static_cast<double>(endsDelivered);
  state.counters["lost"] = static_cast<double>(2 * children.size() - startsDelivered - endsDelivered);
  state.counters["events_seen"] = static_cast<double>(local.events);
  state.counters["reader_cpu_ms_per_1000_events"] =
      local.events ? cpu * 1000.0 / (static_cast<double>(local.events) / 1000.0) : 0;
  unregisterProcessEventsCallback();
  unregisterLogsCollectorCallback();
  storm = nullptr;
}
BENCHMARK(ProcessExecStorm)->Arg(10000)->Arg(2000)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace
