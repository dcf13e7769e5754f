#pragma once
// sondrel-inspect commands of the service family: the launchctl and dscl
// parsers over saved outputs, and one run of an inventory.

#include <string>
#include <vector>

#include "common/json_writer.h"
#include "services/service_info.h"

namespace sondrel::tools {

int inspectLaunchctlList(const std::vector<std::string>& arguments);
int inspectLaunchctlService(const std::vector<std::string>& arguments);
int inspectDsclUsers(const std::vector<std::string>& arguments);
int inspectServices(const std::vector<std::string>& arguments);

void writeServiceInfosJson(JsonWriter& json, const std::vector<ServiceInfo>& services);
void writeServiceRawDataJson(JsonWriter& json, const std::vector<ServiceRawData>& records);

}  // namespace sondrel::tools
