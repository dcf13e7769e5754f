#include "reports/signing_time.h"

#include <sys/stat.h>

#include <cmath>

#include "frame/logger.h"

namespace sondrel {

uint64_t retrieveTimeStamp(const std::string& path) {
  struct stat info {};
  if (path.empty() || ::stat(path.c_str(), &info) != 0) {
    Logger::logWarning("Failed to find any file at {}", path);
    return 0;
  }
  const SigningTimeReading reading = readSigningTime(path);
  switch (reading.step) {
    case SigningTimeStep::staticCodeFailed:
      Logger::logWarning("Failed to create sec static code for {}", path);
      return 0;
    case SigningTimeStep::signingInformationFailed:
      Logger::logWarning("Failed to get signing infomation for {}", path);
      return 0;
    case SigningTimeStep::timestampMissing:
      Logger::logWarning("Failed to get timestamp infomation for {}", path);
      return 0;
    case SigningTimeStep::timestampInvalid:
      Logger::logWarning("Timestamp infomation for {} is invalid.", path);
      return 0;
    case SigningTimeStep::found:
      break;
  }
  if (!std::isfinite(reading.seconds) || reading.seconds < 0 || reading.seconds >= 18446744073709551616.0) {
    Logger::logWarning("Timestamp infomation for {} is invalid.", path);
    return 0;
  }
  return static_cast<uint64_t>(reading.seconds);
}

}  // namespace sondrel
