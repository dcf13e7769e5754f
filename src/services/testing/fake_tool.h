#pragma once
// A stand-in for a command-line tool: a shell script that prints the canned
// output registered for its exact argument list and records every call.

#include <sys/stat.h>

#include <algorithm>
#include <string>
#include <vector>

#include "test_support/temp_folder.h"

namespace sondrel::testing {

class FakeTool {
 public:
  FakeTool(const TempFolder& folder, const std::string& name) : folder_(folder), name_(name) {
    path_ = folder_.write("tools/" + name, "#!/bin/sh\n"
                                           "key=$(printf '%s' \"$*\" | tr ' /' '_~')\n"
                                           "printf '%s\\n' \"$*\" >> \"$0.calls\"\n"
                                           "out=\"$0.out/$key\"\n"
                                           "[ -f \"$out.sleep\" ] && sleep \"$(cat \"$out.sleep\")\"\n"
                                           "[ -f \"$out\" ] && cat \"$out\"\n"
                                           "[ -f \"$out.status\" ] && exit \"$(cat \"$out.status\")\"\n"
                                           "exit 0\n");
    ::chmod(path_.c_str(), 0755);
  }

  [[nodiscard]] const std::string& path() const { return path_; }

  // What the tool prints when called with exactly these arguments.
  void on(const std::vector<std::string>& args, const std::string& output) const { folder_.write(outName(args), output); }
  void sleepOn(const std::vector<std::string>& args, const std::string& seconds) const {
    folder_.write(outName(args) + ".sleep", seconds);
  }
  void failOn(const std::vector<std::string>& args, int status) const {
    folder_.write(outName(args) + ".status", std::to_string(status));
  }

  // Every argument list the tool was called with, one line each.
  [[nodiscard]] std::vector<std::string> calls() const {
    std::vector<std::string> lines;
    const std::string text = readWholeFile(path_ + ".calls");
    size_t start = 0;
    while (start < text.size()) {
      const auto end = text.find('\n', start);
      lines.push_back(text.substr(start, end - start));
      start = end == std::string::npos ? text.size() : end + 1;
    }
    return lines;
  }

 private:
  [[nodiscard]] std::string outName(const std::vector<std::string>& args) const {
    std::string key;
    for (const auto& arg : args) key += (key.empty() ? "" : " ") + arg;
    std::replace(key.begin(), key.end(), ' ', '_');
    std::replace(key.begin(), key.end(), '/', '~');
    return "tools/" + name_ + ".out/" + key;
  }

  const TempFolder& folder_;
  std::string name_;
  std::string path_;
};

}  // namespace sondrel::testing
