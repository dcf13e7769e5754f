#include "inspect/service_commands.h"

#include <cstdio>
#include <optional>

#include "frame/logger.h"
#include "inspect/saved_output.h"
#include "services/platform_service_utils.h"
#include "services/service_content_parser.h"

namespace sondrel::tools {

namespace {

// The inventory explains itself only in log lines; show them beside the result.
void logToStandardError(uint32_t level, const char*, const char* message) {
  std::fprintf(stderr, "[%u] %s\n", level, message);
}

int print(const JsonWriter& json) {
  std::puts(json.str().c_str());
  return 0;
}

}  // namespace

void writeServiceInfosJson(JsonWriter& json, const std::vector<ServiceInfo>& services) {
  json.beginArray();
  for (const auto& info : services) {
    json.beginObject().field("service", info.service).field("program", info.program).field("user", info.user).endObject();
  }
  json.endArray();
}

void writeServiceRawDataJson(JsonWriter& json, const std::vector<ServiceRawData>& records) {
  json.beginArray();
  for (const auto& record : records) {
    json.beginObject().field("service", record.service).key("pid");
    record.pid ? json.value(static_cast<int64_t>(*record.pid)) : json.null();
    json.key("uid");
    record.uid ? json.value(*record.uid) : json.null();
    json.endObject();
  }
  json.endArray();
}

int inspectLaunchctlList(const std::vector<std::string>& arguments) {
  const auto content = readSavedOutput(arguments, "launchctl-list");
  if (!content) return savedOutputFailureStatus(arguments);
  const auto records = ServiceContentParser().parseServiceList(*content, std::nullopt);
  if (!records) {
    std::fprintf(stderr, "sondrel-inspect: %s holds no service list\n", arguments[0].c_str());
    return 1;
  }
  JsonWriter json;
  writeServiceRawDataJson(json, *records);
  return print(json);
}

int inspectLaunchctlService(const std::vector<std::string>& arguments) {
  const auto content = readSavedOutput(arguments, "launchctl-service");
  if (!content) return savedOutputFailureStatus(arguments);
  const auto program = ServiceContentParser().parseServiceProgram(*content);
  JsonWriter json;
  json.beginObject().key("program");
  program ? json.value(*program) : json.null();
  json.endObject();
  return print(json);
}

int inspectDsclUsers(const std::vector<std::string>& arguments) {
  const auto content = readSavedOutput(arguments, "dscl-users");
  if (!content) return savedOutputFailureStatus(arguments);
  const auto uids = ServiceContentParser().parseUids(*content);
  if (!uids) {
    std::fprintf(stderr, "sondrel-inspect: %s holds no user ids\n", arguments[0].c_str());
    return 1;
  }
  JsonWriter json;
  json.beginArray();
  for (auto uid : *uids) json.value(uid);
  json.endArray();
  return print(json);
}

int inspectServices(const std::vector<std::string>& arguments) {
  const bool launchd = arguments.size() == 1 && arguments[0] == "--launchd";
  if (!arguments.empty() && !launchd) {
    std::fputs("usage: sondrel-inspect services [--launchd]\n", stderr);
    return 2;
  }
  Logger::shared().registerLogs(logToStandardError);
  const auto utils = launchd ? makeLaunchdServiceUtils() : makePlatformServiceUtils();
  const auto services = utils->getServices();
  if (!services) {
    std::fputs("sondrel-inspect: no service inventory could be had\n", stderr);
    return 1;
  }
  JsonWriter json;
  writeServiceInfosJson(json, *services);
  return print(json);
}

}  // namespace sondrel::tools
