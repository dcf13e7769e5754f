#pragma once
// `sondrel-inspect process PID`: one live process as process inspection sees it.

#include <string>
#include <vector>

#include "common/json_writer.h"
#include "session/process.h"

namespace sondrel::tools {

void writeProcessJson(JsonWriter& json, const Process& process);
int printProcess(const std::vector<std::string>& arguments);

}  // namespace sondrel::tools
