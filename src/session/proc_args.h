#pragma once
// The argument area that macOS hands out for sysctl KERN_PROCARGS2: a native
// int argc, the executable path, NUL padding, then the argument strings (and
// the environment after them). Parsed here, away from the sysctl, so the
// parsing is tested everywhere.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace sondrel {

struct ProcArgs {
  std::string path;
  std::vector<std::string> arguments;
};

// buffer is exactly the bytes the kernel returned; nothing past it is read.
// Nothing when it is too short to hold argc and a path.
[[nodiscard]] std::optional<ProcArgs> parseProcArgs2(std::span<const uint8_t> buffer);

}  // namespace sondrel
