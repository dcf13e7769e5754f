#pragma once
// Collects the library's log lines while it lives, through the collector a
// host would register.

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace sondrel::testing {

struct LogLine {
  uint32_t level;
  std::string message;
};

class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  [[nodiscard]] std::vector<LogLine> lines() const;
  // True when some line equals message exactly.
  [[nodiscard]] bool contains(const std::string& message) const;
  // True when some line starts with prefix.
  [[nodiscard]] bool containsPrefix(const std::string& prefix) const;
  [[nodiscard]] size_t count(const std::string& message) const;
  void clear();
};

}  // namespace sondrel::testing
