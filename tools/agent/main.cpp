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
#include <string>
#include <thread>
#include <vector>

#include "agent/agent_options.h"
#include "agent/families.h"
#include "agent/record_output.h"
#include "agent/sondrel_api.h"

using namespace sondrel::tools;

namespace {

SondrelApi api;
uint32_t minimumLogLevel = 1;

void collectLog(uint32_t level, const char* subsystem, const char* message) {
  if (level < minimumLogLevel) return;
  static const char* const names[] = {"verbose", "debug", "info", "warning", "error", "critical"};
  const char* name = level <= 5 ? names[level] : "unknown";
  emitLine(std::string("[") + name + "] " + (subsystem ? subsystem : "") + ": " + (message ? message : ""), stderr);
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
  registerFamilies(api, *options);

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
    unregisterFamilies(api, *options);
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
