#pragma once
// File listing and reading for input that local users can write: no symbolic
// links followed, no file read past a size cap, and cache files replaced
// atomically so a reader sees the old content or the new, never a mix.

#include <sys/stat.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sondrel {

// Reports and property lists are small; anything larger is not what we expect.
inline constexpr size_t kMaxInputFileBytes = 16 * 1024 * 1024;

// The whole file, or nothing (and a log line) when it is missing, not a
// regular file, a symbolic link, or larger than maxBytes.
[[nodiscard]] std::optional<std::string> readFileCapped(const std::string& path,
                                                        size_t maxBytes = kMaxInputFileBytes);

// The cache file inside the host's cache folder; an empty folder means the
// current folder of the process.
[[nodiscard]] std::string cacheFilePath(const std::string& cachePath, std::string_view cacheFileName);

// The last component of a file path, trailing slashes ignored ("/" stays "/").
[[nodiscard]] std::string lastPathComponent(std::string_view path);

// Creates folder and its missing parents with mode 0700.
[[nodiscard]] bool createFolderIfMissing(const std::string& folder, std::string* reason);

// Writes content to a temporary file beside path (mode 0600) and renames it
// over path. The parent folder is created with mode 0700 when missing.
// False, with nothing at path changed, on any failure; reason receives why.
[[nodiscard]] bool writeFileAtomically(const std::string& path, std::string_view content, std::string* reason);

// The modification time of a stat result in seconds since 1970 (the field's
// name differs between platforms).
[[nodiscard]] double modificationSeconds(const struct stat& info);

namespace CommonUtils {

// Regular files directly inside each folder (no hidden entries, no folders,
// no symbolic links, no names that are not UTF-8) whose name ends in one of suffixes, folder by folder in
// the given order, names sorted within a folder.
[[nodiscard]] std::vector<std::string> getFiles(const std::vector<std::string>& suffixes,
                                                const std::vector<std::string>& folders);

// Modification time in seconds since 1970, or nothing when path can't be examined.
[[nodiscard]] std::optional<double> getFileModificationTimestamp(const std::string& path);

}  // namespace CommonUtils
}  // namespace sondrel
