#pragma once
// Who a process runs as (the account name of a user id is frame/users.h).

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "frame/users.h"

namespace sondrel {

// The real user id of a running process, or nothing when the kernel won't
// say (gone, or not ours to look at). One file per platform.
[[nodiscard]] std::optional<uint32_t> uidOfProcess(int32_t pid);

// The real user id on the "Uid:" line of a Linux /proc/PID/status text.
[[nodiscard]] std::optional<uint32_t> parseStatusUid(std::string_view statusText);

}  // namespace sondrel
