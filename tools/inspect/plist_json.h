#pragma once

#include "common/json_writer.h"
#include "frame/plist_value.h"

namespace sondrel::tools {

// Dates become ISO 8601 UTC text and data becomes base64 text.
void writePlistJson(JsonWriter& json, const PlistValue& value);

}  // namespace sondrel::tools
