#pragma once
// One line of the "Binary Images:" list of a text crash report, read by hand
// for speed with exactly the matches of the documented pattern
//   ^0x[a-f0-9]+\s+-\s+0x[a-f0-9]+\s+\+?(\S+)\s+\((.+)\)\s+<.+>\s+(.+)
// (greedy groups: the version runs to the last ")" that a "<…>" and a path
// follow, the path starts after the last such ">"). Linear in the line,
// which holds no line feed (the report is split into lines first) and is
// valid UTF-8 (reports are checked when read).

#include <optional>
#include <string_view>

namespace sondrel {

struct BinaryImageFields {
  std::string_view name;
  std::string_view version;
  std::string_view path;
};

[[nodiscard]] std::optional<BinaryImageFields> matchBinaryImageLine(std::string_view line);

// The pattern above, for checking the hand-written reader against RE2.
inline constexpr const char* kBinaryImagePattern =
    R"(^0x[a-f0-9]+\s+-\s+0x[a-f0-9]+\s+\+?(\S+)\s+\((.+)\)\s+<.+>\s+(.+))";

}  // namespace sondrel
