#include "reports/signing_time.h"

#include <sys/stat.h>

#include "frame/logger.h"
#include "reports/report_date.h"

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
  if (const auto whole = wholeSeconds(reading.seconds)) return *whole;
  Logger::logWarning("Timestamp infomation for {} is invalid.", path);
  return 0;
}

}  // namespace sondrel
