#pragma once
// JSON rendering of BSM audit records for sondrel-inspect: one object per
// record with its number, offset, length and decoded tokens.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "common/json_writer.h"

namespace sondrel::tools {

// Writes one record; false (and nothing written) when its tokens can't be decoded.
bool writeBsmRecordJson(JsonWriter& json, size_t recordNumber, size_t offset, std::span<const uint8_t> record);

// `sondrel-inspect bsm FILE`
int printBsmTrail(const std::vector<std::string>& arguments);

}  // namespace sondrel::tools
