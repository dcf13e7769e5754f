// Direct queries. Each answers false, leaving its output untouched, for a
// null pointer or when the figure can't be read.

#include "frame/export_guard.h"
#include "frame/logger.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

namespace {

// A query whose reader is not part of this build yet: logs its entry line,
// refuses a null output and otherwise says once per call that it can't answer.
template <typename... Outputs>
bool unavailableQuery(std::string_view query, const Outputs*... outputs) {
  return guardQuery(query, false, [&] {
    Logger::logDebug("::{}", query);
    if (((outputs == nullptr) || ...)) return false;
    Logger::logInfo("{}: not available in this build.", query);
    return false;
  });
}

}  // namespace

extern "C" {

SONDREL_EXPORT bool getOSInfo(os_info_t* info) { return unavailableQuery("getOSInfo", info); }

SONDREL_EXPORT bool getDeviceInfo(device_info_t* info) { return unavailableQuery("getDeviceInfo", info); }

SONDREL_EXPORT bool getBootTime(uint64_t* bootTime) { return unavailableQuery("getBootTime", bootTime); }

SONDREL_EXPORT bool getShutdownTime(uint64_t* shutdownTime) {
  return unavailableQuery("getShutdownTime", shutdownTime);
}

SONDREL_EXPORT bool getUsedSpace(uint64_t* usedBytes) { return unavailableQuery("getUsedSpace", usedBytes); }

SONDREL_EXPORT bool SMCCallFunction(uint32_t, const void* input, size_t, void* output, size_t* outputSize) {
  return unavailableQuery("SMCCallFunction", input, output, outputSize);
}

SONDREL_EXPORT bool SMCReadKey(const char* key, smc_value_t* value) {
  return unavailableQuery("SMCReadKey", key, value);
}

SONDREL_EXPORT bool SMCGetCPUTemperature(double* celsius) {
  return unavailableQuery("SMCGetCPUTemperature", celsius);
}

SONDREL_EXPORT bool ReadM1Sensors(m1_sensor_reading_t* readings, uint32_t, uint32_t* count) {
  return unavailableQuery("ReadM1Sensors", readings, count);
}

}  // extern "C"
