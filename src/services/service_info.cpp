#include "services/service_info.h"

namespace sondrel {

PlistValue encodeServiceInfos(const std::vector<ServiceInfo>& services) {
  PlistArray items;
  items.reserve(services.size());
  for (const auto& info : services) {
    items.push_back(PlistValue{PlistDictionary{
        {"service", PlistValue{info.service}}, {"program", PlistValue{info.program}}, {"user", PlistValue{info.user}}}});
  }
  return PlistValue{std::move(items)};
}

std::optional<std::vector<ServiceInfo>> decodeServiceInfos(const PlistValue& value) {
  const PlistArray* items = value.asArray();
  if (items == nullptr) return std::nullopt;
  std::vector<ServiceInfo> services;
  services.reserve(items->size());
  for (const auto& item : *items) {
    const PlistValue* service = item.find("service");
    const PlistValue* program = item.find("program");
    const PlistValue* user = item.find("user");
    if (service == nullptr || program == nullptr || user == nullptr || service->asString() == nullptr ||
        program->asString() == nullptr || user->asString() == nullptr) {
      return std::nullopt;
    }
    services.push_back({*service->asString(), *program->asString(), *user->asString()});
  }
  return services;
}

}  // namespace sondrel
