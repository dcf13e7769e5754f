#include "perf/linux/small_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "frame/owned.h"

namespace sondrel {

std::optional<std::string> readKernelFile(const std::string& path, size_t maxBytes) {
  UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (!fd) return std::nullopt;
  std::string content;
  size_t filled = 0;
  while (filled < maxBytes) {
    if (content.size() == filled) content.resize(std::min(maxBytes, filled + 4096));
    const ssize_t count = ::read(fd.get(), content.data() + filled, content.size() - filled);
    if (count < 0) {
      if (errno == EINTR) continue;
      return std::nullopt;
    }
    if (count == 0) break;
    filled += static_cast<size_t>(count);
  }
  content.resize(filled);
  return content;
}

std::optional<std::vector<std::string>> listFolder(const std::string& path) {
  UniqueDir folder(::opendir(path.c_str()));
  if (!folder) return std::nullopt;
  std::vector<std::string> names;
  while (const dirent* entry = ::readdir(folder.get())) {
    if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

double secondsSinceBoot() {
  timespec now{};
  ::clock_gettime(CLOCK_BOOTTIME, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

}  // namespace sondrel
