// Direct queries. Each answers false, leaving its output untouched, for a
// null pointer or when the figure can't be read.

#include "frame/export_guard.h"
#include "frame/logger.h"
#include "sondrel/sondrel.h"

using namespace sondrel;

namespace {
// Queries whose readers are not part of this build yet say so once per call.
bool notReadable(std::string_view query) {
  Logger::logInfo("{}: not available in this build.", query);
  return false;
}
}  // namespace

extern "C" {

SONDREL_EXPORT bool getOSInfo(os_info_t* info) {
  return guardQuery("getOSInfo", false, [&] {
    Logger::logDebug("::getOSInfo");
    return info != nullptr && notReadable("getOSInfo");
  });
}

SONDREL_EXPORT bool getDeviceInfo(device_info_t* info) {
  return guardQuery("getDeviceInfo", false, [&] {
    Logger::logDebug("::getDeviceInfo");
    return info != nullptr && notReadable("getDeviceInfo");
  });
}

SONDREL_EXPORT bool getBootTime(uint64_t* bootTime) {
  return guardQuery("getBootTime", false, [&] {
    Logger::logDebug("::getBootTime");
    return bootTime != nullptr && notReadable("getBootTime");
  });
}

SONDREL_EXPORT bool getShutdownTime(uint64_t* shutdownTime) {
  return guardQuery("getShutdownTime", false, [&] {
    Logger::logDebug("::getShutdownTime");
    return shutdownTime != nullptr && notReadable("getShutdownTime");
  });
}

SONDREL_EXPORT bool getUsedSpace(uint64_t* usedBytes) {
  return guardQuery("getUsedSpace", false, [&] {
    Logger::logDebug("::getUsedSpace");
    return usedBytes != nullptr && notReadable("getUsedSpace");
  });
}

SONDREL_EXPORT bool SMCCallFunction(uint32_t, const void* input, size_t, void* output, size_t* outputSize) {
  return guardQuery("SMCCallFunction", false, [&] {
    Logger::logDebug("::SMCCallFunction");
    return input != nullptr && output != nullptr && outputSize != nullptr && notReadable("SMCCallFunction");
  });
}

SONDREL_EXPORT bool SMCReadKey(const char* key, smc_value_t* value) {
  return guardQuery("SMCReadKey", false, [&] {
    Logger::logDebug("::SMCReadKey");
    return key != nullptr && value != nullptr && notReadable("SMCReadKey");
  });
}

SONDREL_EXPORT bool SMCGetCPUTemperature(double* celsius) {
  return guardQuery("SMCGetCPUTemperature", false, [&] {
    Logger::logDebug("::SMCGetCPUTemperature");
    return celsius != nullptr && notReadable("SMCGetCPUTemperature");
  });
}

SONDREL_EXPORT bool ReadM1Sensors(m1_sensor_reading_t* readings, uint32_t, uint32_t* count) {
  return guardQuery("ReadM1Sensors", false, [&] {
    Logger::logDebug("::ReadM1Sensors");
    return readings != nullptr && count != nullptr && notReadable("ReadM1Sensors");
  });
}

}  // extern "C"
