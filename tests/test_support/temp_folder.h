#pragma once
// A fresh folder under the system's temporary folder, removed with everything in it.

#include <string>

namespace sondrel::testing {

class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }
  // path() joined with a relative name.
  [[nodiscard]] std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  // Writes content to a file under the folder, creating sub-folders; returns its path.
  std::string write(const std::string& relativePath, const std::string& content) const;

 private:
  std::string path_;
};

// The whole content of a file, or "" when it can't be read.
std::string readWholeFile(const std::string& path);

}  // namespace sondrel::testing
