// sondrel-inspect: runs one of the library's parsers over a saved file and
// prints what it understood as JSON, for checking real samples by hand.

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "common/json_writer.h"
#include "frame/plist_value.h"
#include "inspect/bsm_json.h"
#include "inspect/plist_json.h"
#include "inspect/process_json.h"
#include "inspect/report_commands.h"
#include "inspect/saved_output.h"
#include "inspect/service_commands.h"

using namespace sondrel;
using namespace sondrel::tools;

namespace {

using Command = std::function<int(const std::vector<std::string>& arguments)>;

int printPlist(const std::vector<std::string>& arguments) {
  const auto bytes = readSavedOutput(arguments, "plist");
  if (!bytes) return savedOutputFailureStatus(arguments);
  auto value = parsePlist(*bytes);
  if (!value) {
    std::fprintf(stderr, "sondrel-inspect: %s is not a property list\n", arguments[0].c_str());
    return 1;
  }
  JsonWriter json;
  writePlistJson(json, *value);
  std::puts(json.str().c_str());
  return 0;
}

const std::map<std::string, Command>& commands() {
  static const std::map<std::string, Command> table = {
      {"bsm", printBsmTrail},
      {"crash", [](const auto& paths) { return inspectCrashReports(paths, stdout); }},
      {"dscl-users", inspectDsclUsers},
      {"hang", [](const auto& paths) { return inspectHangReports(paths, stdout); }},
      {"launchctl-list", inspectLaunchctlList},
      {"launchctl-service", inspectLaunchctlService},
      {"panic", [](const auto& paths) { return inspectPanicReports(paths, stdout); }},
      {"plist", printPlist},
      {"process", printProcess},
      {"services", inspectServices},
  };
  return table;
}

void printUsage() {
  std::fputs("usage: sondrel-inspect COMMAND ARGUMENTS\ncommands:", stderr);
  for (const auto& [name, command] : commands()) std::fprintf(stderr, " %s", name.c_str());
  std::fputc('\n', stderr);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    printUsage();
    return 2;
  }
  const auto found = commands().find(argv[1]);
  if (found == commands().end()) {
    printUsage();
    return 2;
  }
  return found->second(std::vector<std::string>(argv + 2, argv + argc));
}
