#pragma once
// Where the real macOS samples live; tests skip when the folder is absent.

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace sondrel::testing {

inline std::filesystem::path corpusDir() { return SONDREL_CORPUS_DIR; }

// The files of one corpus sub-folder, sorted; empty when it is missing.
inline std::vector<std::string> corpusFiles(const std::string& subfolder) {
  std::vector<std::string> files;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(corpusDir() / subfolder, error)) {
    if (entry.is_regular_file()) files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace sondrel::testing

#define SONDREL_SKIP_WITHOUT_CORPUS(subfolder)                                         \
  do {                                                                                 \
    if (!std::filesystem::is_directory(::sondrel::testing::corpusDir() / (subfolder))) \
      GTEST_SKIP() << "corpus folder " << (subfolder) << " is absent";                 \
  } while (0)
