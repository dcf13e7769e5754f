// Report parsing throughput and the cost of one folder scan.

#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>
#include <string>
#include <vector>

#include "frame/json_blocks.h"
#include "frame/logger.h"
#include "frame/plist_cache.h"
#include "reports/crash_report_parser.h"
#include "reports/report_scan.h"

namespace {

using namespace sondrel;

// A host agent always registers a collector; the system log would dominate otherwise.
void discardLogLine(uint32_t, const char*, const char*) {}

struct QuietLogs {
  QuietLogs() { Logger::shared().registerLogs(discardLogLine); }
  ~QuietLogs() { Logger::shared().unregisterLogsCollector(); }
};

// A JSON crash report of the usual shape: header line, body with a few
// threads of frames and a list of loaded images.
std::string syntheticIps() {
  std::string text =
      R"j({"app_name":"Demo","timestamp":"2022-08-03 20:36:47.00 +0900","app_version":"1.2","bug_type":"309","os_version":"macOS 12.4 (21F79)","name":"Demo"})j";
  text += "\n{\n  \"procPath\" : \"\\/Applications\\/Demo.app\\/Contents\\/MacOS\\/Demo\",\n  \"userID\" : 501,\n"
          "  \"captureTime\" : \"2022-08-03 20:36:44.3125 +0900\",\n  \"faultingThread\" : 0,\n  \"threads\" : [";
  for (int thread = 0; thread < 12; ++thread) {
    text += thread == 0 ? "{\"triggered\":true,\"frames\":[" : ",{\"frames\":[";
    for (int frame = 0; frame < 40; ++frame) {
      if (frame > 0) text += ',';
      text += "{\"imageOffset\":" + std::to_string(10000 + frame * 37) + ",\"symbol\":\"function_" +
              std::to_string(frame) + "\",\"symbolLocation\":28,\"imageIndex\":" + std::to_string((frame * 7) % 60) + "}";
    }
    text += "]}";
  }
  text += "],\n  \"usedImages\" : [";
  for (int image = 0; image < 60; ++image) {
    if (image > 0) text += ',';
    const bool system = image % 3 != 0;
    text += "{\"source\":\"P\",\"arch\":\"x86_64\",\"base\":" + std::to_string(4294967296LL + image * 65536) +
            ",\"size\":65536,\"uuid\":\"01d2a9d5-1f8a-35c8-9228-7c7cca13c5fc\",\"path\":\"" +
            (system ? "\\/usr\\/lib\\/system\\/libsystem_" + std::to_string(image) + ".dylib"
                    : "\\/Applications\\/Demo.app\\/Contents\\/Frameworks\\/Kit" + std::to_string(image) + ".framework\\/Kit") +
            "\",\"name\":\"image" + std::to_string(image) + "\",\"CFBundleShortVersionString\":\"1." +
            std::to_string(image) + "\"}";
  }
  text += "]\n}\n";
  return text;
}

std::string syntheticCrashText() {
  std::string text = R"(Process:               Demo [1710]
Path:                  /Applications/Demo.app/Contents/MacOS/Demo
Identifier:            com.example.demo
Version:               1.2 (34)
Code Type:             X86-64 (Native)
Parent Process:        launchd [1]
User ID:               501

Date/Time:             2022-08-03 20:36:44.3125 +0900
OS Version:            macOS 12.4 (21F79)
Report Version:        12

Exception Type:        EXC_BAD_ACCESS (SIGSEGV)
Exception Codes:       KERN_INVALID_ADDRESS at 0x0000000000000001

)";
  for (int thread = 0; thread < 12; ++thread) {
    text += thread == 0 ? "Thread 0 Crashed:: Dispatch queue: com.apple.main-thread\n"
                        : "Thread " + std::to_string(thread) + ":\n";
    for (int frame = 0; frame < 40; ++frame) {
      text += std::to_string(frame) + "   libsystem_kernel.dylib        0x00007ff80a1b2c3d __pthread_kill + " +
              std::to_string(frame) + "\n";
    }
    text += "\n";
  }
  text += "Thread 0 crashed with X86 Thread State (64-bit):\n  rax: 0x0000000000000000  rbx: 0x0000000000000001\n\n"
          "Binary Images:\n";
  for (int image = 0; image < 150; ++image) {
    text += "       0x10f0b" + std::to_string(1000 + image) + " -        0x10f0c" + std::to_string(1000 + image) +
            " libimage" + std::to_string(image) + ".dylib (1." + std::to_string(image) +
            ") <01D2A9D5-1F8A-35C8-9228-7C7CCA13C5FC> /usr/lib/system/libimage" + std::to_string(image) + ".dylib\n";
  }
  text += "    0x7ff80a1a9000 -     0x7ff80a1e0fff libsystem_kernel.dylib (8020.121.3) "
          "<AB8B2B4A-5C6E-3A40-8F3B-6B3E1A0B6B43> /usr/lib/system/libsystem_kernel.dylib\n";
  return text;
}

void CrashIpsParse(benchmark::State& state) {
  QuietLogs quiet;
  const std::string report = syntheticIps();
  CrashReportParser parser;
  for (auto _ : state) {
    auto info = parser.parseCrashReportContent("/r/Demo.ips", report);
    benchmark::DoNotOptimize(info);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * report.size()));
}
BENCHMARK(CrashIpsParse);

// What simdjson alone needs for the same two JSON texts: the ceiling for the parser above.
void CrashIpsRawSimdjson(benchmark::State& state) {
  const std::string report = syntheticIps();
  const auto newline = report.find('\n');
  const simdjson::padded_string header(report.substr(0, newline));
  const simdjson::padded_string body(report.substr(newline + 1));
  simdjson::dom::parser parser;
  for (auto _ : state) {
    simdjson::dom::element element;
    benchmark::DoNotOptimize(parser.parse(header).get(element));
    benchmark::DoNotOptimize(parser.parse(body).get(element));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * report.size()));
}
BENCHMARK(CrashIpsRawSimdjson);

void CrashTextParse(benchmark::State& state) {
  QuietLogs quiet;
  const std::string report = syntheticCrashText();
  CrashReportParser parser;
  for (auto _ : state) {
    auto info = parser.parseCrashReportContent("/r/Demo.crash", report);
    benchmark::DoNotOptimize(info);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * report.size()));
}
BENCHMARK(CrashTextParse);

// One scan of a folder of 10 000 reports that the cache already lists.
void ScanTenThousandCached(benchmark::State& state) {
  QuietLogs quiet;
  const auto root = std::filesystem::temp_directory_path() / ("sondrel-bench-scan-" + std::to_string(::getpid()));
  std::filesystem::create_directories(root / "reports");
  std::vector<std::string> paths;
  for (int i = 0; i < 10000; ++i) {
    const auto path = root / "reports" / ("Demo-2022-08-03-" + std::to_string(100000 + i) + ".ips");
    std::ofstream(path) << "x";
    paths.push_back(path.string());
  }
  ReportScanSettings settings;
  settings.suffixes = {"crash", "ips"};
  settings.folders = [&] { return std::vector<std::string>{(root / "reports").string()}; };
  settings.cacheFile = (root / "crash.plist").string();
  const double later = secondsSince1970() + 3600;
  (void)scanForNewReports(settings, later);
  for (auto _ : state) {
    auto fresh = scanForNewReports(settings, later);
    if (!fresh.empty()) state.SkipWithError("cached reports came back as new");
  }
  state.SetItemsProcessed(state.iterations() * 10000);
  std::filesystem::remove_all(root);
}
BENCHMARK(ScanTenThousandCached)->Unit(benchmark::kMillisecond);

// The comparison alone: 10 000 candidates against 10 000 cached paths, none new.
void CompareTenThousandWithCache(benchmark::State& state) {
  std::vector<std::string> candidates;
  for (int i = 0; i < 10000; ++i) {
    candidates.push_back("/Library/Logs/DiagnosticReports/Demo-2022-08-03-" + std::to_string(100000 + i) + ".ips");
  }
  const std::optional<std::vector<std::string>> previous = candidates;
  for (auto _ : state) {
    auto fresh = selectNewReports(candidates, previous, true);
    benchmark::DoNotOptimize(fresh);
  }
  state.SetItemsProcessed(state.iterations() * 10000);
}
BENCHMARK(CompareTenThousandWithCache)->Unit(benchmark::kMillisecond);

}  // namespace
