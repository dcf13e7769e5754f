#include "agent/record_output.h"

#include <chrono>
#include <cstdint>
#include <mutex>

namespace sondrel::tools {

namespace {

std::mutex outputMutex;

uint64_t nowMilliseconds() {
  using namespace std::chrono;
  return static_cast<uint64_t>(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
}

}  // namespace

void emitLine(const std::string& line, std::FILE* stream) {
  std::lock_guard lock(outputMutex);
  std::fwrite(line.data(), 1, line.size(), stream);
  std::fputc('\n', stream);
  std::fflush(stream);
}

void emitEnvelope(const char* family, const std::function<void(JsonWriter&)>& writeRecordBody) {
  JsonWriter json;
  json.beginObject().field("family", family).field("time", nowMilliseconds()).key("record");
  writeRecordBody(json);
  json.endObject();
  emitLine(json.str(), stdout);
}

void emitOpaqueRecord(const char* family) {
  emitEnvelope(family, [](JsonWriter& json) { json.null(); });
}

}  // namespace sondrel::tools
