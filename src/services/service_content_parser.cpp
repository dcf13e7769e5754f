#include "services/service_content_parser.h"

#include "frame/logger.h"
#include "frame/text_fields.h"

namespace sondrel {

namespace {

constexpr size_t kMinimumListLineLength = 6;
constexpr size_t kMinimumUidLineLength = 3;
constexpr size_t kMinimumProgramLineLength = 12;
constexpr std::string_view kProgramKey = "\"Program\"";

std::string_view trimCharacters(std::string_view text, std::string_view characters) {
  const auto first = text.find_first_not_of(characters);
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(characters);
  return text.substr(first, last - first + 1);
}

}  // namespace

std::vector<std::string_view> splitNonEmpty(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find(separator, start);
    if (end == std::string_view::npos) end = text.size();
    if (end > start) parts.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

std::string_view trimWhitespace(std::string_view text) { return trimCharacters(text, " \t\r\n\v\f"); }

std::optional<int32_t> parseInt32(std::string_view text) { return parseWhole<int32_t>(text); }

std::optional<uint32_t> parseUint32(std::string_view text) { return parseWhole<uint32_t>(text); }

std::optional<std::vector<uint32_t>> ServiceContentParser::parseUids(std::string_view content) const {
  const auto lines = splitNonEmpty(content, '\n');
  if (lines.empty()) return std::nullopt;
  std::vector<uint32_t> uids;
  for (auto rawLine : lines) {
    const auto line = trimWhitespace(rawLine);
    const auto columns = splitNonEmpty(line, ' ');
    // System accounts with negative ids ("nobody -2") are not domains we can ask.
    const auto uid = line.size() < kMinimumUidLineLength || columns.size() < 2 ? std::nullopt
                                                                               : parseUint32(columns.back());
    if (!uid) {
      Logger::logDebug("Failed to parse the line {}", line);
      continue;
    }
    uids.push_back(*uid);
  }
  return uids;
}

std::optional<std::vector<ServiceRawData>> ServiceContentParser::parseServiceList(std::string_view content,
                                                                                  std::optional<uint32_t> uid) const {
  const auto lines = splitNonEmpty(content, '\n');
  if (lines.empty()) {
    Logger::logDebug("The content does not contain any lines.");
    return std::nullopt;
  }
  std::vector<ServiceRawData> records;
  records.reserve(lines.size() - 1);
  for (size_t i = 1; i < lines.size(); ++i) {
    const auto line = trimWhitespace(lines[i]);
    const auto firstTab = line.find('\t');
    const auto secondTab = firstTab == std::string_view::npos ? firstTab : line.find('\t', firstTab + 1);
    if (line.size() < kMinimumListLineLength || secondTab == std::string_view::npos) {
      Logger::logDebug("Invalid line: {}", line);
      continue;
    }
    records.push_back({std::string(trimWhitespace(line.substr(secondTab + 1))),
                       parseInt32(trimWhitespace(line.substr(0, firstTab))), uid});
  }
  return records;
}

std::optional<std::string> ServiceContentParser::parseServiceProgram(std::string_view content) const {
  for (auto rawLine : splitNonEmpty(content, '\n')) {
    const auto line = trimWhitespace(rawLine);
    if (line.size() < kMinimumProgramLineLength || !line.starts_with(kProgramKey)) continue;
    const auto equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    auto value = trimWhitespace(line.substr(equals + 1));
    value = trimCharacters(value, ";");
    value = trimCharacters(value, "\"");
    return std::string(value);
  }
  Logger::logDebug("Failed to parse the content {}", content);
  return std::nullopt;
}

}  // namespace sondrel
