#include "session/linux/proc_files.h"

#include "frame/text_fields.h"

namespace sondrel::linux_proc {

namespace {

std::optional<uint32_t> number(std::string_view field) { return parseWhole<uint32_t>(field); }

}  // namespace

std::optional<StatFields> parseStat(std::string_view text) {
  const size_t close = text.rfind(')');
  if (close == std::string_view::npos || text.find('(') > close) return std::nullopt;
  std::string_view rest = text.substr(close + 1);
  nextField(rest);  // state
  const auto ppid = number(nextField(rest));
  nextField(rest);  // process group
  const auto session = number(nextField(rest));
  if (!ppid || !session) return std::nullopt;
  return StatFields{*ppid, *session};
}

std::optional<StatusIds> parseStatusUids(std::string_view text) {
  while (!text.empty()) {
    std::string_view line = nextLine(text);
    if (!line.starts_with("Uid:")) continue;
    line.remove_prefix(4);
    const auto real = number(nextField(line));
    const auto effective = number(nextField(line));
    if (!real || !effective) return std::nullopt;
    return StatusIds{*real, *effective};
  }
  return std::nullopt;
}

std::vector<std::string> splitCmdline(std::string_view text) {
  std::vector<std::string> arguments;
  size_t at = 0;
  while (at < text.size()) {
    const size_t end = text.find('\0', at);
    if (end == std::string_view::npos) {
      arguments.emplace_back(text.substr(at));  // rewritten by the process, without its NUL
      break;
    }
    arguments.emplace_back(text.substr(at, end - at));
    at = end + 1;
  }
  return arguments;
}

}  // namespace sondrel::linux_proc
