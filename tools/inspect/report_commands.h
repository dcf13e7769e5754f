#pragma once
// sondrel-inspect crash|hang|panic FILE…: one JSON object per file (JSON Lines).

#include <cstdio>
#include <string>
#include <vector>

namespace sondrel::tools {

// Each returns 0 when every file parsed, 1 when some did not, 2 on bad usage.
int inspectCrashReports(const std::vector<std::string>& paths, std::FILE* out);
int inspectHangReports(const std::vector<std::string>& paths, std::FILE* out);
int inspectPanicReports(const std::vector<std::string>& paths, std::FILE* out);

}  // namespace sondrel::tools
