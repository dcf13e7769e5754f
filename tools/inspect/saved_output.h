#pragma once
// The one saved file that most sondrel-inspect commands take.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "frame/file_utils.h"

namespace sondrel::tools {

// The bytes of the command's single FILE argument, at most maxBytes. Nothing,
// with the usage line or the reason on standard error, for any other argument
// count or a file that can't be read.
std::optional<std::string> readSavedOutput(const std::vector<std::string>& arguments, const char* command,
                                           size_t maxBytes = kMaxInputFileBytes);

// The exit status once readSavedOutput gave nothing: 2 for bad usage, 1 for an unreadable file.
int savedOutputFailureStatus(const std::vector<std::string>& arguments);

}  // namespace sondrel::tools
