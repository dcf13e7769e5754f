// Opens /dev/auditpipe for process records, in the order the pipe wants:
// local preselection, the longest queue it allows, then the class masks.

#include <fcntl.h>
#include <bsm/audit.h>
#include <security/audit/audit_ioctl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "frame/logger.h"
#include "session/audit_pipe_reader.h"

namespace sondrel {

namespace {

constexpr const char* kAuditPipePath = "/dev/auditpipe";
// Exec (0x40000000) and process (0x00000080) classes on success; everything on failure.
constexpr unsigned int kSuccessClasses = 0x40000080;
constexpr unsigned int kFailureClasses = 0xFFFFFFFF;

std::optional<AuditPipe> initAuditPipe() {
  UniqueFd fd(::open(kAuditPipePath, O_RDONLY | O_CLOEXEC));
  if (!fd) {
    Logger::logError("failed to open audit pipe {}", kAuditPipePath);
    return std::nullopt;
  }
  int mode = AUDITPIPE_PRESELECT_MODE_LOCAL;
  if (::ioctl(fd.get(), AUDITPIPE_SET_PRESELECT_MODE, &mode) == -1) {
    Logger::logError("Could not set the audit pipe's preselection mode: {}", std::strerror(errno));
    return std::nullopt;
  }
  unsigned int maxQueueLength = 0;
  if (::ioctl(fd.get(), AUDITPIPE_GET_QLIMIT_MAX, &maxQueueLength) == -1 ||
      ::ioctl(fd.get(), AUDITPIPE_SET_QLIMIT, &maxQueueLength) == -1) {
    Logger::logError("Could not set the audit pipe's queue limit: {}", std::strerror(errno));
    return std::nullopt;
  }
  au_mask_t mask{};
  mask.am_success = kSuccessClasses;
  mask.am_failure = kFailureClasses;
  if (::ioctl(fd.get(), AUDITPIPE_SET_PRESELECT_FLAGS, &mask) == -1 ||
      ::ioctl(fd.get(), AUDITPIPE_SET_PRESELECT_NAFLAGS, &mask) == -1) {
    Logger::logError("Could not set the audit pipe's preselection flags: {}", std::strerror(errno));
    return std::nullopt;
  }
  const int pipeFd = fd.get();
  return AuditPipe{std::move(fd), [pipeFd]() -> std::optional<uint64_t> {
                     u_int64_t drops = 0;
                     if (::ioctl(pipeFd, AUDITPIPE_GET_DROPS, &drops) == -1) return std::nullopt;
                     return static_cast<uint64_t>(drops);
                   }};
}

}  // namespace

std::unique_ptr<IProcessEventReader> makeSystemProcessEventReader(const IProcessTable& table) {
  return std::make_unique<AuditPipeReader>(initAuditPipe, table);
}

}  // namespace sondrel
