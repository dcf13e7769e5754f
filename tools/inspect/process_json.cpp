#include "inspect/process_json.h"

#include <charconv>
#include <cstdio>

namespace sondrel::tools {

namespace {
// Unset ids are null rather than 4294967295.
void idField(JsonWriter& json, std::string_view name, uint32_t id) {
  json.key(name);
  if (id == kUnsetId) {
    json.null();
  } else {
    json.value(id);
  }
}
}  // namespace

void writeProcessJson(JsonWriter& json, const Process& process) {
  json.beginObject();
  idField(json, "pid", process.pid);
  idField(json, "ppid", process.ppid);
  idField(json, "uid", process.uid);
  idField(json, "ruid", process.ruid);
  idField(json, "sid", process.sid);
  idField(json, "exit", process.exit);
  json.field("type", static_cast<uint32_t>(process.type)).field("path", process.path);
  json.key("arguments").beginArray();
  for (const auto& argument : process.arguments) json.value(argument);
  json.endArray().key("ancestors").beginArray();
  for (uint32_t ancestor : process.ancestors) json.value(ancestor);
  json.endArray().field("alive", process.isProcessAlive()).endObject();
}

int printProcess(const std::vector<std::string>& arguments) {
  uint32_t pid = 0;
  if (arguments.size() != 1 ||
      std::from_chars(arguments[0].data(), arguments[0].data() + arguments[0].size(), pid).ec != std::errc()) {
    std::fputs("usage: sondrel-inspect process PID\n", stderr);
    return 2;
  }
  const auto process = Process::fromPid(pid);
  if (!process) {
    std::fprintf(stderr, "sondrel-inspect: no process %u whose path can be read\n", pid);
    return 1;
  }
  JsonWriter json;
  writeProcessJson(json, *process);
  std::puts(json.str().c_str());
  return 0;
}

}  // namespace sondrel::tools
