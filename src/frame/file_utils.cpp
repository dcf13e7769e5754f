#include "frame/file_utils.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>

#include "frame/logger.h"
#include "frame/owned.h"
#include "frame/utf8.h"

namespace sondrel {

std::optional<std::string> readFileCapped(const std::string& path, size_t maxBytes) {
  UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!fd) {
    Logger::logError("Could not open {}: {}", path, std::strerror(errno));
    return std::nullopt;
  }
  struct stat info {};
  if (::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
    Logger::logError("Not a regular file: {}", path);
    return std::nullopt;
  }
  if (static_cast<size_t>(info.st_size) > maxBytes) {
    Logger::logError("File {} is {} bytes, larger than the {} bytes read", path, info.st_size, maxBytes);
    return std::nullopt;
  }
  std::string content;
  content.resize(static_cast<size_t>(info.st_size));
  size_t filled = 0;
  // The size may change while we read; never read past the cap.
  for (;;) {
    if (filled == content.size()) {
      if (content.size() >= maxBytes) break;
      content.resize(std::min(maxBytes, content.size() + 4096));
    }
    const ssize_t count = ::read(fd.get(), content.data() + filled, content.size() - filled);
    if (count < 0) {
      if (errno == EINTR) continue;
      Logger::logError("Could not read {}: {}", path, std::strerror(errno));
      return std::nullopt;
    }
    if (count == 0) break;
    filled += static_cast<size_t>(count);
  }
  content.resize(filled);
  return content;
}

std::string cacheFilePath(const std::string& cachePath, std::string_view cacheFileName) {
  if (cachePath.empty()) return std::string(cacheFileName);
  return (cachePath.ends_with('/') ? cachePath : cachePath + "/") + std::string(cacheFileName);
}

std::string lastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  if (path == "/") return "/";
  const auto slash = path.rfind('/');
  return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

bool createFolderIfMissing(const std::string& folder, std::string* reason) {
  std::string ignored;
  if (reason == nullptr) reason = &ignored;
  if (folder.empty()) return true;
  struct stat info {};
  if (::stat(folder.c_str(), &info) == 0) {
    if (S_ISDIR(info.st_mode)) return true;
    *reason = folder + " is not a folder";
    return false;
  }
  const auto slash = folder.find_last_of('/');
  if (slash != std::string::npos && slash > 0 && !createFolderIfMissing(folder.substr(0, slash), reason)) {
    return false;
  }
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
    *reason = folder + ": " + std::strerror(errno);
    return false;
  }
  return true;
}

namespace {

std::string temporaryNameBeside(const std::string& path) {
  thread_local std::mt19937_64 generator{std::random_device{}()};
  char suffix[24];
  std::snprintf(suffix, sizeof suffix, ".%016llx",
                static_cast<unsigned long long>(generator()));
  return path + suffix + ".tmp";
}

}  // namespace

bool writeFileAtomically(const std::string& path, std::string_view content, std::string* reason) {
  std::string ignored;
  if (reason == nullptr) reason = &ignored;
  const auto slash = path.find_last_of('/');
  const std::string folder = slash == std::string::npos ? std::string() : path.substr(0, slash);
  if (!createFolderIfMissing(folder, reason)) return false;

  const std::string temporary = temporaryNameBeside(path);
  UniqueFd fd(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!fd) {
    *reason = temporary + ": " + std::strerror(errno);
    return false;
  }
  size_t written = 0;
  while (written < content.size()) {
    const ssize_t count = ::write(fd.get(), content.data() + written, content.size() - written);
    if (count < 0) {
      if (errno == EINTR) continue;
      *reason = temporary + ": " + std::strerror(errno);
      ::unlink(temporary.c_str());
      return false;
    }
    written += static_cast<size_t>(count);
  }
  if (::fsync(fd.get()) != 0 || ::close(fd.release()) != 0) {
    *reason = temporary + ": " + std::strerror(errno);
    ::unlink(temporary.c_str());
    return false;
  }
  if (::rename(temporary.c_str(), path.c_str()) != 0) {
    *reason = path + ": " + std::strerror(errno);
    ::unlink(temporary.c_str());
    return false;
  }
  return true;
}

namespace CommonUtils {

std::vector<std::string> getFiles(const std::vector<std::string>& suffixes, const std::vector<std::string>& folders) {
  std::vector<std::string> paths;
  for (const auto& folder : folders) {
    DIR* directory = ::opendir(folder.c_str());
    if (directory == nullptr) continue;
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(directory)) {
      const std::string_view name(entry->d_name);
      if (name.empty() || name.front() == '.') continue;
      if (!isValidUtf8(name)) {
        Logger::logWarning("Skipping a file whose name is not UTF-8 in {}", folder);
        continue;
      }
      const bool matches = std::any_of(suffixes.begin(), suffixes.end(),
                                       [&](const std::string& suffix) { return name.ends_with(suffix); });
      if (matches) names.emplace_back(name);
    }
    ::closedir(directory);
    std::sort(names.begin(), names.end());
    const std::string prefix = folder.ends_with('/') ? folder : folder + "/";
    for (const auto& name : names) {
      struct stat info {};
      const std::string path = prefix + name;
      if (::lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode)) paths.push_back(path);
    }
  }
  return paths;
}

std::optional<double> getFileModificationTimestamp(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return std::nullopt;
  return modificationSeconds(info);
}

}  // namespace CommonUtils
}  // namespace sondrel
