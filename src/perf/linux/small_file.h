#pragma once
// Reads a kernel-generated file (/proc, /sys) quietly: a missing attribute is
// normal there, and the callers say what its absence means.

#include <optional>
#include <string>
#include <vector>

namespace sondrel {

// The file's content, at most maxBytes; nothing when it can't be opened or read.
[[nodiscard]] std::optional<std::string> readKernelFile(const std::string& path, size_t maxBytes = 1 << 20);

// The names in a folder but "." entries, sorted; nothing when it can't be listed.
[[nodiscard]] std::optional<std::vector<std::string>> listFolder(const std::string& path);

// Seconds since boot, sleep included, as the kernel's cumulative counters count.
[[nodiscard]] double secondsSinceBoot();

}  // namespace sondrel
