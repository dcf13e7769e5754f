#include "services/service_change_events.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "frame/c_strings.h"
#include "frame/file_utils.h"
#include "frame/logger.h"

namespace sondrel {

namespace {

constexpr uint32_t kInstalled = 0;
constexpr uint32_t kRemoved = 1;

uint64_t millisecondsSince1970() {
  using namespace std::chrono;
  return static_cast<uint64_t>(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
}

std::string folderOf(const std::string& path) {
  const auto slash = path.find_last_of('/');
  return slash == std::string::npos ? std::string(".") : path.substr(0, std::max<size_t>(slash, 1));
}

}  // namespace

std::shared_ptr<ServiceChangeEvents> ServiceChangeEvents::create(const std::string& cachePath,
                                                                 std::chrono::nanoseconds interval,
                                                                 std::shared_ptr<IServiceUtils> serviceUtils) {
  return std::shared_ptr<ServiceChangeEvents>(new ServiceChangeEvents(cachePath, interval, std::move(serviceUtils)));
}

ServiceChangeEvents::ServiceChangeEvents(const std::string& cachePath, std::chrono::nanoseconds interval,
                                         std::shared_ptr<IServiceUtils> serviceUtils)
    : interval(interval), serviceUtils(std::move(serviceUtils)) {
  if (!cachePath.empty()) cacheFileUrl_ = cacheFilePath(cachePath, kServicesCacheFileName);
}

ServiceChangeEvents::~ServiceChangeEvents() = default;

void ServiceChangeEvents::startListening(ServiceEventCallback callback) {
  serviceEventHandler.open(callback);
  execQueue.async([weak = weak_from_this()] {
    auto self = weak.lock();
    if (!self || !self->serviceEventHandler.isOpen()) return;
    self->timer_ = std::make_unique<RepeatingTimer>(self->execQueue, self->interval, [weak] {
      if (auto source = weak.lock()) source->eventTimerCallback();
    });
  });
}

void ServiceChangeEvents::stopListening() {
  // The gate alone keeps the promise of no callback after return; the timer
  // is dropped on the queue so a long poll in progress does not hold us up.
  serviceEventHandler.close();
  execQueue.async([weak = weak_from_this()] {
    if (auto self = weak.lock()) {
      if (self->timer_) self->timer_->cancel();
      self->timer_.reset();
    }
  });
}

void ServiceChangeEvents::eventTimerCallback() {
  if (!serviceEventHandler.isOpen()) return;
  const auto change = getServiceChange();
  if (!change) return;
  for (const auto& info : change->installed) report(info, kInstalled);
  if (change->removed) {
    for (const auto& info : *change->removed) report(info, kRemoved);
  }
}

void ServiceChangeEvents::report(const ServiceInfo& info, uint32_t eventType) {
  service_event_t event{};
  event.eventType.rawValue = eventType;
  event.timestamp = millisecondsSince1970();
  event.pid = 0;
  event.service = CommonUtils::makeCString(info.service);
  event.program = CommonUtils::makeCString(info.program);
  event.user = CommonUtils::makeCString(info.user);
  if (event.service != nullptr && event.program != nullptr && event.user != nullptr) {
    serviceEventHandler.invoke(&event);
  }
  std::free(event.service);
  std::free(event.program);
  std::free(event.user);
}

std::optional<ServiceChange> ServiceChangeEvents::getServiceChange() {
  const auto start = std::chrono::steady_clock::now();
  if (!cachedServices) cachedServices = loadCachedServices();
  std::optional<ServiceChange> change;
  if (auto inventory = serviceUtils ? serviceUtils->getServices() : std::nullopt) {
    ServiceInfoSet current(inventory->begin(), inventory->end());
    change.emplace();
    if (cachedServices) {
      ServiceInfoSet removed;
      for (const auto& info : current) {
        if (!cachedServices->contains(info)) change->installed.insert(info);
      }
      for (const auto& info : *cachedServices) {
        if (!current.contains(info)) removed.insert(info);
      }
      change->removed = std::move(removed);
    } else {
      change->installed = current;
    }
    cachedServices = std::move(current);
    writeServiceInfoCache();
  }
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  Logger::logDebug("Duration to get service change: {}s", elapsed.count());
  return change;
}

std::optional<ServiceInfoSet> ServiceChangeEvents::loadCachedServices() const {
  if (!cacheFileUrl_) return std::nullopt;
  struct stat info {};
  if (::lstat(cacheFileUrl_->c_str(), &info) != 0 && errno == ENOENT) return std::nullopt;
  const auto bytes = readFileCapped(*cacheFileUrl_);
  if (!bytes) {
    Logger::logDebug("Error reading cache file {}", *cacheFileUrl_);
    return std::nullopt;
  }
  const auto root = parsePlist(*bytes);
  if (!root) {
    Logger::logDebug("Fail to decode cache data with error: the data is not a property list");
    return std::nullopt;
  }
  const auto services = decodeServiceInfos(*root);
  if (!services) {
    Logger::logDebug(
        "Fail to decode cache data with error: expected an array of dictionaries with \"service\", \"program\" and "
        "\"user\" strings");
    return std::nullopt;
  }
  return ServiceInfoSet(services->begin(), services->end());
}

void ServiceChangeEvents::writeServiceInfoCache() const {
  if (!cacheFileUrl_ || !cachedServices) return;
  std::string reason;
  if (!createFolderIfMissing(folderOf(*cacheFileUrl_), &reason)) {
    Logger::logDebug("Fail to create cache directory {}", reason);
    return;
  }
  // Sorted, so an unchanged inventory writes identical bytes.
  std::vector<ServiceInfo> services(cachedServices->begin(), cachedServices->end());
  std::sort(services.begin(), services.end(), [](const ServiceInfo& a, const ServiceInfo& b) {
    return std::tie(a.service, a.user) < std::tie(b.service, b.user);
  });
  const auto encoded = encodeBinaryPlist(encodeServiceInfos(services));
  if (!encoded || !writeFileAtomically(*cacheFileUrl_, *encoded, &reason)) {
    Logger::logDebug("Fail to write data to file {}", *cacheFileUrl_);
  }
}

}  // namespace sondrel
