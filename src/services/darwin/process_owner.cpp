#include "services/process_owner.h"

#include <libproc.h>
#include <sys/proc_info.h>

namespace sondrel {

std::optional<uint32_t> uidOfProcess(int32_t pid) {
  if (pid <= 0) return std::nullopt;
  struct proc_bsdinfo info {};
  const int size = proc_pidinfo(pid, PROC_PIDTBSDINFO, 0, &info, PROC_PIDTBSDINFO_SIZE);
  // A short answer means the kernel filled only part of the record.
  if (size != PROC_PIDTBSDINFO_SIZE) return std::nullopt;
  return static_cast<uint32_t>(info.pbi_uid);
}

}  // namespace sondrel
