// One launchd inventory over 400 job files and 600 listed services (400 in
// the system domain, 200 of the same labels again in a user's domain), cold
// (every file parsed) and warm (nothing changed: the folder only stat'ed).
// The tools are answered in process, so the figures are the library's own cost.

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "services/service_utils.h"

namespace {

using namespace sondrel;

constexpr int kJobFiles = 400;
constexpr int kListed = 600;

// Answers like launchctl and dscl would, from canned text.
class CannedRunner final : public ICommandRunner {
 public:
  CannedRunner(const std::string* systemList, const std::string* userList)
      : systemList_(systemList), userList_(userList) {}
  std::string name() const override { return name_; }
  std::optional<std::string> stdOut() const override { return out_; }
  std::optional<std::string> stdErr() const override { return std::string(); }
  std::optional<int> exitCode() const override { return 0; }
  std::optional<std::string> error() const override { return std::nullopt; }
  bool exited() const override { return true; }
  bool run() override { return true; }
  bool runInQueue(DispatchQueue&) override { return true; }
  void stop() override {}
  bool runWithCommand(const std::string& path, const std::optional<std::vector<std::string>>& args) override {
    name_ = path;
    const auto& list = args.value_or(std::vector<std::string>{});
    if (path == "dscl") {
      out_ = "alice 501\n";
    } else if (list.size() == 1) {
      out_ = *systemList_;
    } else if (list.size() == 2) {
      out_ = "{\n\t\"Label\" = \"" + list[1] + "\";\n\t\"Program\" = \"/opt/listed/" + list[1] + "\";\n};\n";
    } else {
      out_ = *userList_;
    }
    return true;
  }

 private:
  const std::string* systemList_;
  const std::string* userList_;
  std::string name_;
  std::optional<std::string> out_;
};

struct Fixture {
  Fixture() {
    std::string pattern = (std::filesystem::temp_directory_path() / "sondrel-bench-XXXXXX").string();
    folder = mkdtemp(pattern.data());
    for (int i = 0; i < kJobFiles; ++i) {
      const auto label = "com.example.job" + std::to_string(i);
      std::ofstream(folder + "/" + label + ".plist")
          << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
             "\t<key>Label</key>\n\t<string>" << label << "</string>\n"
             "\t<key>ProgramArguments</key>\n\t<array>\n\t\t<string>/opt/jobs/" << label
          << "</string>\n\t\t<string>--daemon</string>\n\t</array>\n"
             "\t<key>RunAtLoad</key>\n\t<true/>\n\t<key>KeepAlive</key>\n\t<dict>\n"
             "\t\t<key>SuccessfulExit</key>\n\t\t<false/>\n\t</dict>\n</dict>\n</plist>\n";
    }
    systemList = userList = "PID\tStatus\tLabel\n";
    for (int i = 0; i < kJobFiles; ++i) {
      systemList += std::to_string(100 + i) + "\t0\tcom.example.job" + std::to_string(i) + "\n";
    }
    for (int i = 0; i < kListed - kJobFiles; ++i) userList += "-\t0\tcom.example.job" + std::to_string(i * 2) + "\n";
  }
  ~Fixture() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }

  std::unique_ptr<ServiceUtils> makeUtils() const {
    const std::string* system = &systemList;
    const std::string* user = &userList;
    auto commands = std::make_shared<ServiceCommandUtils>(
        [system, user] { return std::make_unique<CannedRunner>(system, user); }, "dscl", "launchctl");
    auto cache = std::make_shared<ServiceInfoCache>(std::vector<std::string>{folder},
                                                    [] { return std::vector<std::string>{}; });
    AccountLookup accounts{[](uint32_t) -> std::optional<std::string> { return "alice"; },
                           [](int32_t) -> std::optional<uint32_t> { return 0u; }};
    return std::make_unique<ServiceUtils>(cache, commands, kServiceQueryTimeout, accounts);
  }

  std::string folder;
  std::string systemList;
  std::string userList;
};

const Fixture& fixture() {
  static const Fixture instance;
  return instance;
}

void BM_ServiceInventoryFirstPoll(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto utils = fixture().makeUtils();
    state.ResumeTiming();
    auto services = utils->getServices();
    if (!services || services->size() != kJobFiles) state.SkipWithError("incomplete inventory");
    benchmark::DoNotOptimize(services);
  }
}
BENCHMARK(BM_ServiceInventoryFirstPoll)->Unit(benchmark::kMillisecond);

void BM_ServiceInventoryUnchangedPoll(benchmark::State& state) {
  auto utils = fixture().makeUtils();
  (void)utils->getServices();
  for (auto _ : state) {
    auto services = utils->getServices();
    if (!services || services->size() != kJobFiles) state.SkipWithError("incomplete inventory");
    benchmark::DoNotOptimize(services);
  }
}
BENCHMARK(BM_ServiceInventoryUnchangedPoll)->Unit(benchmark::kMillisecond);

}  // namespace
