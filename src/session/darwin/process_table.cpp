#include <libproc.h>
#include <sys/proc_info.h>
#include <sys/sysctl.h>

#include <cstdlib>
#include <vector>

#include "session/proc_args.h"
#include "session/process_table.h"

namespace sondrel {

namespace {

std::optional<kinfo_proc> readKinfoProc(uint32_t pid) {
  int name[4] = {CTL_KERN, KERN_PROC, KERN_PROC_PID, static_cast<int>(pid)};
  kinfo_proc info{};
  size_t size = sizeof info;
  if (::sysctl(name, 4, &info, &size, nullptr, 0) != 0 || size == 0) return std::nullopt;
  return info;
}

// The argument area, sized by the kernel's maximum, trimmed to what came back.
std::optional<std::vector<uint8_t>> readProcArgs2(uint32_t pid) {
  int argmaxName[2] = {CTL_KERN, KERN_ARGMAX};
  int argmax = 0;
  size_t size = sizeof argmax;
  if (::sysctl(argmaxName, 2, &argmax, &size, nullptr, 0) != 0 || argmax <= 0) return std::nullopt;
  std::vector<uint8_t> buffer(static_cast<size_t>(argmax), 0);
  int name[3] = {CTL_KERN, KERN_PROCARGS2, static_cast<int>(pid)};
  size = buffer.size();
  if (::sysctl(name, 3, buffer.data(), &size, nullptr, 0) != 0) return std::nullopt;
  buffer.resize(size);
  return buffer;
}

class DarwinProcessTable final : public IProcessTable {
 public:
  std::optional<ProcessIds> ids(uint32_t pid) const override {
    const auto info = readKinfoProc(pid);
    if (!info) return std::nullopt;
    ProcessIds ids;
    ids.ppid = static_cast<uint32_t>(info->kp_eproc.e_ppid);
    ids.uid = static_cast<uint32_t>(info->kp_eproc.e_ucred.cr_uid);
    ids.ruid = static_cast<uint32_t>(info->kp_eproc.e_pcred.p_ruid);
    return ids;
  }

  std::optional<std::string> executablePath(uint32_t pid) const override {
    char buffer[4096] = {};
    if (::proc_pidpath(static_cast<int>(pid), buffer, sizeof buffer) > 0 && buffer[0] != '\0') return std::string(buffer);
    const auto area = readProcArgs2(pid);
    if (!area || area->size() <= 4) return std::nullopt;
    const auto parsed = parseProcArgs2(*area);
    if (!parsed || parsed->path.empty()) return std::nullopt;
    return parsed->path;
  }

  std::optional<std::vector<std::string>> arguments(uint32_t pid) const override {
    const auto area = readProcArgs2(pid);
    if (!area || area->size() < 5) return std::nullopt;
    auto parsed = parseProcArgs2(*area);
    if (!parsed) return std::nullopt;
    return std::move(parsed->arguments);
  }

  std::optional<std::vector<uint32_t>> listPids() const override {
    const int count = ::proc_listallpids(nullptr, 0);
    if (count <= 0) return std::nullopt;
    std::vector<int> buffer(static_cast<size_t>(count), 0);
    const int filled = ::proc_listallpids(buffer.data(), static_cast<int>(buffer.size() * sizeof(int)));
    if (filled <= 0) return std::nullopt;
    std::vector<uint32_t> pids;
    for (int i = 0; i < filled && i < count; ++i) {
      if (buffer[static_cast<size_t>(i)] != 0) pids.push_back(static_cast<uint32_t>(buffer[static_cast<size_t>(i)]));
    }
    return pids;
  }
};

}  // namespace

const IProcessTable& systemProcessTable() {
  static const DarwinProcessTable table;
  return table;
}

}  // namespace sondrel
