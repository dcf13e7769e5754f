// Processor ticks from host_processor_info (PROCESSOR_CPU_LOAD_INFO).

#include <mach/mach.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "frame/logger.h"
#include "perf/cpu_perf_info.h"

namespace sondrel {

namespace {

struct HostInformationError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The kernel's buffer, given back to the own task whatever happens.
struct KernelBuffer {
  processor_info_array_t info = nullptr;
  mach_msg_type_number_t count = 0;
  ~KernelBuffer() {
    if (info != nullptr) {
      vm_deallocate(mach_task_self(), reinterpret_cast<vm_address_t>(info), count * sizeof(integer_t));
    }
  }
};

CPUPerfInfo readProcessorTicks() {
  natural_t processorCount = 0;
  KernelBuffer buffer;
  const mach_port_t host = mach_host_self();
  const kern_return_t result =
      host_processor_info(host, PROCESSOR_CPU_LOAD_INFO, &processorCount, &buffer.info, &buffer.count);
  mach_port_deallocate(mach_task_self(), host);
  if (result != KERN_SUCCESS) {
    throw HostInformationError("Error:: host_processor_info() returned " + std::to_string(result));
  }
  if (buffer.info == nullptr) throw HostInformationError("Error:: host_processor_info() returned empty cpu info.");

  const auto* load = reinterpret_cast<const processor_cpu_load_info_data_t*>(buffer.info);
  std::vector<ProcessorTicks> perProcessor;
  perProcessor.reserve(processorCount);
  for (natural_t i = 0; i < processorCount; ++i) {
    perProcessor.push_back({load[i].cpu_ticks[CPU_STATE_USER], load[i].cpu_ticks[CPU_STATE_SYSTEM],
                            load[i].cpu_ticks[CPU_STATE_IDLE], load[i].cpu_ticks[CPU_STATE_NICE]});
  }
  return sumProcessorTicks(perProcessor);
}

}  // namespace

std::optional<CPUPerfInfo> CPUPerfInfoProvider::tryGetCPU() {
  try {
    return readProcessorTicks();
  } catch (const HostInformationError& error) {
    Logger::logDebug("{}", error.what());
    Logger::logError("Error: Could not fetch CPU perf info.");
    return std::nullopt;
  }
}

}  // namespace sondrel
