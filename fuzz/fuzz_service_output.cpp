// launchctl and dscl output is text other local users can shape (labels are
// theirs to choose): every parser must take any bytes.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "services/service_content_parser.h"
#include "services/service_utils.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const sondrel::ServiceContentParser parser;
  (void)parser.parseUids(text);
  if (auto records = parser.parseServiceList(text, 501u)) sondrel::trimServiceNameForRawDataArray(*records);
  (void)parser.parseServiceProgram(text);
  (void)sondrel::decodeUtf8Lossy(text);
  return 0;
}
