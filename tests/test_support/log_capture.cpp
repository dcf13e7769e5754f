#include "test_support/log_capture.h"

#include "frame/logger.h"

namespace sondrel::testing {

namespace {
std::mutex capturedMutex;
std::vector<LogLine> captured;

void collect(uint32_t level, const char*, const char* message) {
  std::lock_guard lock(capturedMutex);
  captured.push_back({level, message});
}
}  // namespace

LogCapture::LogCapture() {
  clear();
  Logger::shared().registerLogs(collect);
  clear();  // not the registration line
}

LogCapture::~LogCapture() { Logger::shared().unregisterLogsCollector(); }

std::vector<LogLine> LogCapture::lines() const {
  std::lock_guard lock(capturedMutex);
  return captured;
}

bool LogCapture::contains(const std::string& message) const { return count(message) > 0; }

bool LogCapture::containsPrefix(const std::string& prefix) const {
  std::lock_guard lock(capturedMutex);
  for (const auto& line : captured) {
    if (line.message.starts_with(prefix)) return true;
  }
  return false;
}

size_t LogCapture::count(const std::string& message) const {
  std::lock_guard lock(capturedMutex);
  size_t found = 0;
  for (const auto& line : captured) {
    if (line.message == message) ++found;
  }
  return found;
}

void LogCapture::clear() {
  std::lock_guard lock(capturedMutex);
  captured.clear();
}

}  // namespace sondrel::testing
