#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "frame/owned.h"
#include "session/linux/proc_files.h"
#include "session/process_table.h"

namespace sondrel {

namespace {

// /proc files report a size of 0 and a vanished process is ordinary here, so
// this reads quietly until the end, with a cap.
std::optional<std::string> readProcFile(const std::string& path, size_t maxBytes = 256 * 1024) {
  UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!fd) return std::nullopt;
  std::string content;
  char chunk[4096];
  while (content.size() < maxBytes) {
    const ssize_t count = ::read(fd.get(), chunk, sizeof chunk);
    if (count < 0) {
      if (errno == EINTR) continue;
      return std::nullopt;
    }
    if (count == 0) break;
    content.append(chunk, static_cast<size_t>(count));
    // procfs hands out what fits in one read; a short read is the end, and
    // saves the extra call that would only confirm it.
    if (static_cast<size_t>(count) < sizeof chunk) break;
  }
  return content;
}

std::string procPath(uint32_t pid, const char* file) { return "/proc/" + std::to_string(pid) + "/" + file; }

class LinuxProcessTable final : public IProcessTable {
 public:
  std::optional<ProcessIds> ids(uint32_t pid) const override {
    const auto stat = readProcFile(procPath(pid, "stat"));
    const auto fields = stat ? linux_proc::parseStat(*stat) : std::nullopt;
    if (!fields) return std::nullopt;
    ProcessIds ids;
    ids.ppid = fields->ppid;
    ids.sid = fields->session;
    if (const auto status = readProcFile(procPath(pid, "status"))) {
      if (const auto uids = linux_proc::parseStatusUids(*status)) {
        ids.uid = uids->effectiveUid;
        ids.ruid = uids->realUid;
      }
    }
    return ids;
  }

  std::optional<uint32_t> parentOf(uint32_t pid) const override {
    const auto stat = readProcFile(procPath(pid, "stat"));
    const auto fields = stat ? linux_proc::parseStat(*stat) : std::nullopt;
    return fields ? std::optional<uint32_t>(fields->ppid) : std::nullopt;
  }

  std::optional<std::string> executablePath(uint32_t pid) const override {
    char buffer[4096];
    const ssize_t length = ::readlink(procPath(pid, "exe").c_str(), buffer, sizeof buffer);
    if (length <= 0 || static_cast<size_t>(length) >= sizeof buffer) return std::nullopt;
    return std::string(buffer, static_cast<size_t>(length));
  }

  std::optional<std::vector<std::string>> arguments(uint32_t pid) const override {
    const auto text = readProcFile(procPath(pid, "cmdline"));
    if (!text) return std::nullopt;
    return linux_proc::splitCmdline(*text);
  }

  std::optional<std::vector<uint32_t>> listPids() const override {
    DIR* folder = ::opendir("/proc");
    if (folder == nullptr) return std::nullopt;
    std::vector<uint32_t> pids;
    while (const dirent* entry = ::readdir(folder)) {
      const std::string_view name = entry->d_name;
      if (name.empty() || name.find_first_not_of("0123456789") != std::string_view::npos) continue;
      const unsigned long pid = std::stoul(std::string(name));
      if (pid != 0 && pid < kUnsetId) pids.push_back(static_cast<uint32_t>(pid));
    }
    ::closedir(folder);
    return pids;
  }
};

}  // namespace

const IProcessTable& systemProcessTable() {
  static const LinuxProcessTable table;
  return table;
}

}  // namespace sondrel
