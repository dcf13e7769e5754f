#pragma once
// Reads the text that the directory and launchd tools print. The text comes
// from processes that local users can influence (labels are theirs to pick),
// so every parser is linear in its input and tolerates any bytes.
// Thread contract: stateless; any thread.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "services/service_info.h"

namespace sondrel {

class ServiceContentParser {
 public:
  // The user ids of the directory listing "name   id", one per line.
  [[nodiscard]] std::optional<std::vector<uint32_t>> parseUids(std::string_view content) const;
  // The records of a service list "pid<TAB>status<TAB>label" after its
  // header line; uid is the domain that listed them (none for the system).
  [[nodiscard]] std::optional<std::vector<ServiceRawData>> parseServiceList(std::string_view content,
                                                                            std::optional<uint32_t> uid) const;
  // The "Program" value of the dictionary text that one service's query prints.
  [[nodiscard]] std::optional<std::string> parseServiceProgram(std::string_view content) const;
};

// Shared by the service parsers: lines without the empty ones, trimming, and
// whole-field decimal numbers.
[[nodiscard]] std::vector<std::string_view> splitNonEmpty(std::string_view text, char separator);
[[nodiscard]] std::string_view trimWhitespace(std::string_view text);
[[nodiscard]] std::optional<int32_t> parseInt32(std::string_view text);
[[nodiscard]] std::optional<uint32_t> parseUint32(std::string_view text);

}  // namespace sondrel
