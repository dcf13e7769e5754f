#pragma once
// Every field of a library record as a JSON object, under its C name.

#include "common/json_writer.h"
#include "sondrel/sondrel.h"

namespace sondrel::tools {

void writeRecord(JsonWriter& json, const user_event_t& event);
void writeRecord(JsonWriter& json, const process_event_t& event);
void writeRecord(JsonWriter& json, const device_perf_event_t& event);
void writeRecord(JsonWriter& json, const resource_consumer_event_t& event);
void writeRecord(JsonWriter& json, const app_crash_event_t& event);
void writeRecord(JsonWriter& json, const system_crash_event_t& event);
void writeRecord(JsonWriter& json, const app_hang_event_t& event);
void writeRecord(JsonWriter& json, const service_event_t& event);

}  // namespace sondrel::tools
