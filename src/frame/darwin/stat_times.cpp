#include "frame/file_utils.h"

namespace sondrel {

double modificationSeconds(const struct stat& info) {
  return static_cast<double>(info.st_mtimespec.tv_sec) + static_cast<double>(info.st_mtimespec.tv_nsec) / 1e9;
}

}  // namespace sondrel
