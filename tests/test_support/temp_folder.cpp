#include "test_support/temp_folder.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace sondrel::testing {

TempFolder::TempFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "sondrel-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TempFolder::write(const std::string& relativePath, const std::string& content) const {
  const std::filesystem::path full = std::filesystem::path(path_) / relativePath;
  std::filesystem::create_directories(full.parent_path());
  std::ofstream out(full, std::ios::binary);
  out << content;
  return full.string();
}

std::string readWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream content;
  content << in.rdbuf();
  return content.str();
}

}  // namespace sondrel::testing
