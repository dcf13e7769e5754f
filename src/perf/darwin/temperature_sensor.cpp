// Processor temperature: the System Management Controller on Intel Macs,
// the HID temperature sensors on Apple silicon.

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>
#include <sys/sysctl.h>

#include <cstring>
#include <utility>
#include <vector>

#include "frame/darwin/cf_utils.h"
#include "frame/logger.h"
#include "perf/darwin/io_object.h"
#include "perf/thermal_perf_info.h"

// The HID event system's sensor calls live in IOKit without SDK headers.
extern "C" {
typedef struct __SondrelHIDEventSystemClient* HIDEventSystemClientRef;
typedef struct __SondrelHIDServiceClient* HIDServiceClientRef;
typedef struct __SondrelHIDEvent* HIDEventRef;
HIDEventSystemClientRef IOHIDEventSystemClientCreate(CFAllocatorRef allocator);
int IOHIDEventSystemClientSetMatching(HIDEventSystemClientRef client, CFDictionaryRef match);
CFArrayRef IOHIDEventSystemClientCopyServices(HIDEventSystemClientRef client);
HIDEventRef IOHIDServiceClientCopyEvent(HIDServiceClientRef service, int64_t type, int32_t options, int64_t timestamp);
CFTypeRef IOHIDServiceClientCopyProperty(HIDServiceClientRef service, CFStringRef key);
double IOHIDEventGetFloatValue(HIDEventRef event, int32_t field);
}

namespace sondrel {

namespace {

// The controller's request and answer record (AppleSMC user client, selector 2).
struct SmcVersion {
  char major;
  char minor;
  char build;
  char reserved;
  uint16_t release;
};
struct SmcPowerLimits {
  uint16_t version;
  uint16_t length;
  uint32_t cpuLimit;
  uint32_t gpuLimit;
  uint32_t memoryLimit;
};
struct SmcKeyInfo {
  uint32_t dataSize;
  uint32_t dataType;
  uint8_t dataAttributes;
};
struct SmcRecord {
  uint32_t key;
  SmcVersion version;
  SmcPowerLimits limits;
  SmcKeyInfo keyInfo;
  uint8_t result;
  uint8_t status;
  uint8_t command;
  uint32_t data32;
  uint8_t bytes[32];
};

static_assert(sizeof(SmcRecord) == 80, "the controller expects its 80-byte record");

constexpr uint32_t kSmcUserClientSelector = 2;
constexpr uint8_t kSmcReadBytes = 5;
constexpr uint8_t kSmcReadKeyInfo = 9;
constexpr int64_t kHidTemperatureEvent = 15;
constexpr int32_t kHidTemperatureField = kHidTemperatureEvent << 16;

void closeConnection(io_connect_t connection) { IOServiceClose(connection); }
using UniqueConnection = Owned<io_connect_t, static_cast<io_connect_t>(IO_OBJECT_NULL), closeConnection>;

bool callSmc(io_connect_t connection, SmcRecord& input, SmcRecord& output) {
  size_t outputSize = sizeof output;
  return IOConnectCallStructMethod(connection, kSmcUserClientSelector, &input, sizeof input, &output, &outputSize) ==
             KERN_SUCCESS &&
         output.result == 0;
}

std::optional<double> readSmcTemperature(io_connect_t connection, const char* key) {
  SmcRecord input{};
  SmcRecord output{};
  input.key = fourCharCode(key);
  input.command = kSmcReadKeyInfo;
  if (!callSmc(connection, input, output)) return std::nullopt;
  const SmcKeyInfo info = output.keyInfo;
  if (info.dataSize == 0 || info.dataSize > sizeof output.bytes) return std::nullopt;
  input.keyInfo.dataSize = info.dataSize;
  input.command = kSmcReadBytes;
  output = SmcRecord{};
  if (!callSmc(connection, input, output)) return std::nullopt;
  return decodeSmcTemperature(fourCharText(info.dataType), std::span<const uint8_t>(output.bytes, info.dataSize));
}

std::optional<double> smcCpuTemperature() {
  UniqueIOObject service(IOServiceGetMatchingService(MACH_PORT_NULL, IOServiceMatching("AppleSMC")));
  if (!service) {
    Logger::logDebug("No thermal perf info: no AppleSMC service.");
    return std::nullopt;
  }
  io_connect_t rawConnection = IO_OBJECT_NULL;
  if (IOServiceOpen(service.get(), mach_task_self(), 0, &rawConnection) != KERN_SUCCESS) {
    Logger::logError("Error: Could not fetch Thermal perf info. {}", "The AppleSMC service refused to open.");
    return std::nullopt;
  }
  UniqueConnection connection(rawConnection);
  for (const char* key : {"TC0P", "TC0D", "TC0F"}) {
    const auto celsius = readSmcTemperature(connection.get(), key);
    if (celsius && isPlausibleTemperature(*celsius)) return celsius;
  }
  Logger::logDebug("No thermal perf info: no processor key of the SMC answered.");
  return std::nullopt;
}

CFOwned<CFNumberRef> makeNumber(int value) {
  return CFOwned<CFNumberRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &value));
}

std::optional<double> hidCpuTemperature() {
  CFOwned<CFTypeRef> client(IOHIDEventSystemClientCreate(kCFAllocatorDefault));
  if (!client) {
    Logger::logDebug("No thermal perf info: the HID event system gave no client.");
    return std::nullopt;
  }
  const auto eventSystem = static_cast<HIDEventSystemClientRef>(const_cast<void*>(client.get()));
  // Apple's vendor page (0xff00), temperature sensor usage (5).
  const auto page = makeNumber(0xff00);
  const auto usage = makeNumber(5);
  const void* keys[] = {CFSTR("PrimaryUsagePage"), CFSTR("PrimaryUsage")};
  const void* values[] = {page.get(), usage.get()};
  CFOwned<CFDictionaryRef> matching(CFDictionaryCreate(kCFAllocatorDefault, keys, values, 2,
                                                       &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  if (!page || !usage || !matching) return std::nullopt;
  IOHIDEventSystemClientSetMatching(eventSystem, matching.get());
  CFOwned<CFArrayRef> services(IOHIDEventSystemClientCopyServices(eventSystem));
  if (!services) {
    Logger::logDebug("No thermal perf info: no HID temperature sensors.");
    return std::nullopt;
  }
  std::vector<NamedTemperature> readings;
  for (CFIndex i = 0; i < CFArrayGetCount(services.get()); ++i) {
    auto service = static_cast<HIDServiceClientRef>(const_cast<void*>(CFArrayGetValueAtIndex(services.get(), i)));
    CFOwned<CFTypeRef> product(IOHIDServiceClientCopyProperty(service, CFSTR("Product")));
    if (!product || CFGetTypeID(product.get()) != CFStringGetTypeID()) continue;
    CFOwned<CFTypeRef> event(IOHIDServiceClientCopyEvent(service, kHidTemperatureEvent, 0, 0));
    if (!event) continue;
    const auto eventRef = static_cast<HIDEventRef>(const_cast<void*>(event.get()));
    readings.push_back({toUtf8(static_cast<CFStringRef>(product.get())).value_or(""),
                        IOHIDEventGetFloatValue(eventRef, kHidTemperatureField)});
  }
  auto celsius = cpuTemperatureFromHidSensors(readings);
  if (!celsius) Logger::logDebug("No thermal perf info: no processor die among {} HID sensors.", readings.size());
  return celsius;
}

bool isAppleSilicon() {
  int arm64 = 0;
  size_t size = sizeof arm64;
  return sysctlbyname("hw.optional.arm64", &arm64, &size, nullptr, 0) == 0 && arm64 == 1;
}

}  // namespace

TemperatureSensor::TemperatureSensor(std::shared_ptr<ICommandRunner> commandRunner)
    : TemperatureSensor(std::move(commandRunner), "") {}

TemperatureSensor::TemperatureSensor(std::shared_ptr<ICommandRunner> commandRunner, std::string root)
    : commandRunner_(std::move(commandRunner)), registry_(std::move(root)) {}

std::optional<double> TemperatureSensor::tryGetCPUTemperature() {
  static const bool appleSilicon = isAppleSilicon();
  return appleSilicon ? hidCpuTemperature() : smcCpuTemperature();
}

}  // namespace sondrel
