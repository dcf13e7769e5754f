#include "services/service_utils.h"

#include <re2/re2.h>

#include "frame/logger.h"
#include "services/fan_out.h"
#include "services/process_owner.h"

namespace sondrel {

namespace {

std::string describeUid(const std::optional<uint32_t>& uid) {
  return uid ? "Optional(" + std::to_string(*uid) + ")" : "nil";
}

}  // namespace

AccountLookup AccountLookup::system() { return {sondrel::userNameForUid, sondrel::uidOfProcess}; }

std::optional<std::string> AccountLookup::userOfProcess(int32_t pid) const {
  const auto uid = uidOfProcess(pid);
  return uid ? userNameForUid(*uid) : std::nullopt;
}

std::string trimServiceName(const std::string& label) {
  static const RE2 uuidSuffix("[A-F0-9]{4}-[A-F0-9]{4}-[A-F0-9]{4}-[A-F0-9]{12}$");
  static const RE2 addressSuffix("0x[A-Fa-f0-9]{9}$");
  const auto dot = label.rfind('.');
  if (dot != std::string::npos && RE2::PartialMatch(label, uuidSuffix)) return label.substr(0, dot);
  const auto dash = label.rfind('-');
  if (dash != std::string::npos && RE2::PartialMatch(label, addressSuffix)) return label.substr(0, dash);
  return label;
}

void trimServiceNameForRawDataArray(std::vector<ServiceRawData>& records) {
  for (auto& record : records) record.service = trimServiceName(record.service);
}

std::map<std::string, ServiceRawData> buildRawDataMap(const std::vector<ServiceRawData>& records) {
  std::map<std::string, ServiceRawData> byLabel;
  for (const auto& record : records) byLabel.insert_or_assign(record.service, record);
  return byLabel;
}

ServiceUtils::ServiceUtils(std::shared_ptr<IServiceInfoCache> serviceCache,
                           std::shared_ptr<IServiceCommandUtils> commandUtils, std::chrono::nanoseconds timeout,
                           AccountLookup accounts, DispatchQueue& execQueue)
    : serviceInfoCache(std::move(serviceCache)),
      commandUtils(std::move(commandUtils)),
      timeout(timeout),
      accounts_(std::move(accounts)),
      execQueue(execQueue) {}

std::optional<std::vector<ServiceRawData>> ServiceUtils::getUserServiceRawDataArray() {
  const auto uidList = commandUtils ? commandUtils->fetchUidListOutput() : std::nullopt;
  const auto uids = uidList ? contentParser.parseUids(*uidList) : std::nullopt;
  if (!uids) {
    Logger::logDebug("Failed to get uid list.");
    return std::nullopt;
  }
  // One slot per uid keeps the records in uid-list order whatever order the
  // queries finish in.
  FanOut perUid(execQueue, std::vector<std::vector<ServiceRawData>>(uids->size()));
  for (size_t index = 0; index < uids->size(); ++index) {
    perUid.async([index, uid = (*uids)[index], tool = commandUtils, parser = contentParser](const auto& publish) {
      const auto output = tool->fetchServicesListOutputFor(uid);
      auto records = output ? parser.parseServiceList(*output, uid) : std::nullopt;
      if (!records) {
        Logger::logDebug("Failed to list services for uid {}.", uid);
        return;
      }
      publish([&](auto& slots) { slots[index] = std::move(*records); });
    });
  }
  auto listed = perUid.waitFor(timeout);
  if (!listed) {
    Logger::logDebug("Failed to list the services because of timeout.");
    return std::nullopt;
  }
  std::vector<ServiceRawData> all;
  for (auto& records : *listed) {
    for (auto& record : records) all.push_back(std::move(record));
  }
  return all;
}

std::vector<ServiceRawData> ServiceUtils::getSystemServiceRawDataArray() {
  const auto output = commandUtils->fetchSystemServicesListOutput();
  auto records = output ? contentParser.parseServiceList(*output, std::nullopt) : std::nullopt;
  if (!records) {
    Logger::logDebug("Failed to list system services.");
    return {};
  }
  return std::move(*records);
}

std::optional<std::map<std::string, std::string>> ServiceUtils::buildServiceProgramMap(
    const std::map<std::string, ServiceRawData>& records) {
  std::map<std::string, std::string> cached;
  std::vector<ServiceRawData> unknown;
  for (const auto& [label, record] : records) {
    if (auto program = serviceInfoCache ? serviceInfoCache->getServiceProgram(label) : std::nullopt) {
      cached.emplace(label, std::move(*program));
    } else {
      unknown.push_back(record);
    }
  }
  FanOut programs(execQueue, std::move(cached));
  for (auto& record : unknown) {
    programs.async([record = std::move(record), tool = commandUtils, parser = contentParser](const auto& publish) {
      const auto output = record.uid ? tool->fetchServiceInfoOutputFor(record.service, *record.uid)
                                     : tool->fetchSystemServiceInfoOutputFor(record.service);
      if (!output) Logger::logDebug("Failed to get service info by launchctl.");
      auto program = output ? parser.parseServiceProgram(*output) : std::nullopt;
      if (!program) {
        Logger::logDebug("Failed to get program for service {} with user {}", record.service, describeUid(record.uid));
        return;
      }
      publish([&](auto& found) { found.insert_or_assign(record.service, std::move(*program)); });
    });
  }
  auto found = programs.waitFor(timeout);
  if (!found) Logger::logDebug("Failed to get programs because of timeout.");
  return found;
}

std::optional<std::string> ServiceUtils::userOf(const ServiceRawData& record) const {
  if (record.uid) return accounts_.userNameForUid(*record.uid);
  if (record.pid) {
    if (auto name = accounts_.userOfProcess(*record.pid)) return name;
  }
  return std::string("root");
}

std::optional<std::vector<ServiceInfo>> ServiceUtils::getServices() {
  if (!commandUtils) return std::nullopt;
  if (serviceInfoCache) serviceInfoCache->updateServiceCache();
  auto records = getUserServiceRawDataArray();
  if (!records) return std::nullopt;
  for (auto& record : getSystemServiceRawDataArray()) records->push_back(std::move(record));
  trimServiceNameForRawDataArray(*records);
  const auto byLabel = buildRawDataMap(*records);
  const auto programs = buildServiceProgramMap(byLabel);
  if (!programs) return std::nullopt;

  std::vector<ServiceInfo> services;
  services.reserve(byLabel.size());
  for (const auto& [label, record] : byLabel) {
    const auto program = programs->find(label);
    if (program == programs->end()) continue;
    auto user = userOf(record);
    if (!user) continue;
    services.push_back({label, program->second, std::move(*user)});
  }
  return services;
}

}  // namespace sondrel
