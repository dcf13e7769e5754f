// Property lists from folders any user can write: parsing never crashes, and
// whatever parses survives our own binary encoding unchanged.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "frame/plist_value.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto value = sondrel::parsePlist(std::string_view(reinterpret_cast<const char*>(data), size));
  if (!value) return 0;
  auto encoded = sondrel::encodeBinaryPlist(*value);
  if (!encoded) return 0;
  auto again = sondrel::parsePlist(*encoded);
  if (!again) __builtin_trap();
  return 0;
}
