#include "agent/record_writers.h"

#include <cstddef>
#include <iterator>

namespace sondrel::tools {

namespace {
// Arrays of fixed size carry a count of valid entries that a faulty record
// could set past the array's end.
template <typename Entry, size_t Capacity>
uint32_t validEntries(uint32_t count, const Entry (&entries)[Capacity]) {
  return count < std::size(entries) ? count : static_cast<uint32_t>(std::size(entries));
}
}  // namespace

void writeRecord(JsonWriter& json, const user_event_t& event) {
  json.beginObject()
      .field("eventType", event.eventType)
      .field("uid", event.uid)
      .field("sid", event.sid)
      .field("fromLoginWindow", static_cast<uint32_t>(event.fromLoginWindow))
      .field("hadConsoleUser", static_cast<uint32_t>(event.hadConsoleUser))
      .field("userName", event.userName)
      .endObject();
}

void writeRecord(JsonWriter& json, const process_event_t& event) {
  json.beginObject()
      .field("eventType", event.eventType)
      .field("auditEventType", event.auditEventType)
      .field("pid", event.pid)
      .field("ppid", event.ppid)
      .field("uid", event.uid)
      .field("ruid", event.ruid)
      .field("sid", event.sid)
      .field("exitStatus", event.exitStatus)
      .field("path", event.path)
      .field("argc", event.argc);
  json.key("argv");
  if (event.argv == nullptr) {
    json.null();
  } else {
    json.beginArray();
    for (uint32_t i = 0; i < event.argc; ++i) json.value(event.argv[i]);
    json.endArray();
  }
  json.field("user", event.user)
      .field("copyright", event.copyright)
      .field("version", event.version)
      .endObject();
}

void writeRecord(JsonWriter& json, const device_perf_event_t& event) {
  json.beginObject().key("cpu_utilization").beginObject()
      .field("user_percent", event.cpu_utilization.user_percent)
      .field("idle_percent", event.cpu_utilization.idle_percent)
      .field("system_percent", event.cpu_utilization.system_percent)
      .field("total_time", event.cpu_utilization.total_time)
      .endObject();
  json.field("gpu_count", event.gpu_count).key("gpu_utilization").beginArray();
  for (uint32_t i = 0; i < validEntries(event.gpu_count, event.gpu_utilization); ++i) {
    const auto& gpu = event.gpu_utilization[i];
    json.beginObject()
        .fixedText("model", gpu.model)
        .field("vendor_id", gpu.vendor_id)
        .field("device_id", gpu.device_id)
        .field("total_memory", gpu.total_memory)
        .field("integrated", gpu.integrated)
        .field("utilization", gpu.utilization)
        .endObject();
  }
  json.endArray();
  json.key("network_info").beginObject()
      .field("in_errors", event.network_info.in_errors)
      .field("out_errors", event.network_info.out_errors)
      .endObject();
  json.key("disk_info").beginObject()
      .field("read_frequency", event.disk_info.read_frequency)
      .field("write_frequency", event.disk_info.write_frequency)
      .field("read_speed", event.disk_info.read_speed)
      .field("write_speed", event.disk_info.write_speed)
      .field("total_free_space", event.disk_info.total_free_space)
      .endObject();
  json.key("memory_info").beginObject()
      .field("total_physical", event.memory_info.total_physical)
      .field("committed_bytes_in_use", event.memory_info.committed_bytes_in_use)
      .field("usage_percent", event.memory_info.usage_percent)
      .field("paging_file_usage", event.memory_info.paging_file_usage)
      .endObject();
  json.key("thermal_info").beginObject().field("cpu_temperature", event.thermal_info.cpu_temperature).endObject();
  json.field("battery_count", event.battery_count).key("battery_info").beginArray();
  for (uint32_t i = 0; i < validEntries(event.battery_count, event.battery_info); ++i) {
    const auto& battery = event.battery_info[i];
    json.beginObject()
        .fixedText("serial_no", battery.serial_no)
        .field("capacity_remaining", battery.capacity_remaining)
        .field("charge_rate", battery.charge_rate)
        .field("discharge_rate", battery.discharge_rate)
        .endObject();
  }
  json.endArray().endObject();
}

void writeRecord(JsonWriter& json, const resource_consumer_event_t& event) {
  json.beginObject()
      .field("timestamp", event.timestamp)
      .field("app_resource_consumer_count", event.app_resource_consumer_count)
      .key("app_resource_consumer")
      .beginArray();
  for (uint32_t i = 0; i < validEntries(event.app_resource_consumer_count, event.app_resource_consumer); ++i) {
    const auto& app = event.app_resource_consumer[i];
    json.beginObject()
        .field("process_count", app.process_count)
        .field("cpu_usage_percent", app.cpu_usage_percent)
        .field("memory_usage_percent", app.memory_usage_percent)
        .field("disk_io_bytes_sec", app.disk_io_bytes_sec)
        .field("network_interface_bytes_sec", app.network_interface_bytes_sec)
        .field("gpu_usage0", app.gpu_usage0)
        .field("gpu_usage1", app.gpu_usage1)
        .field("gpu_usage2", app.gpu_usage2)
        .field("user", app.user)
        .field("packageName", app.packageName)
        .endObject();
  }
  const auto& device = event.device_resource_consumer;
  json.endArray().key("device_resource_consumer").beginObject()
      .field("cpu_usage_percent", device.cpu_usage_percent)
      .field("memory_usage_percent", device.memory_usage_percent)
      .field("disk_io_bytes_sec", device.disk_io_bytes_sec)
      .field("network_interface_bytes_sec", device.network_interface_bytes_sec)
      .field("gpu_usage0", device.gpu_usage0)
      .field("gpu_usage1", device.gpu_usage1)
      .field("gpu_usage2", device.gpu_usage2)
      .field("gpu_name0", device.gpu_name0)
      .field("gpu_name1", device.gpu_name1)
      .field("gpu_name2", device.gpu_name2)
      .endObject()
      .endObject();
}

void writeRecord(JsonWriter& json, const app_crash_event_t& event) {
  json.beginObject()
      .fixedText("application", event.application)
      .fixedText("appPath", event.appPath)
      .field("crashTime", event.crashTime)
      .fixedText("version", event.version)
      .fixedText("publisher", event.publisher)
      .fixedText("user", event.user)
      .field("moduleTimeStamp", event.moduleTimeStamp)
      .fixedText("module", event.module)
      .fixedText("modulePath", event.modulePath)
      .fixedText("moduleVersion", event.moduleVersion)
      .field("appTimeStamp", event.appTimeStamp)
      .endObject();
}

void writeRecord(JsonWriter& json, const system_crash_event_t& event) {
  json.beginObject()
      .field("crashPath", event.crashPath)
      .field("version", event.version)
      .field("process", event.process)
      .field("stackTrace", event.stackTrace)
      .field("timestamp", event.timestamp)
      .endObject();
}

void writeRecord(JsonWriter& json, const app_hang_event_t& event) {
  json.beginObject()
      .field("application", event.application)
      .field("version", event.version)
      .field("appPath", event.appPath)
      .field("publisher", event.publisher)
      .field("duration", event.duration)
      .endObject();
}

void writeRecord(JsonWriter& json, const service_event_t& event) {
  json.beginObject()
      .key("eventType").beginObject().field("rawValue", event.eventType.rawValue).endObject()
      .field("timestamp", event.timestamp)
      .field("pid", event.pid)
      .field("service", event.service)
      .field("program", event.program)
      .field("user", event.user)
      .endObject();
}

}  // namespace sondrel::tools
