#pragma once
// A process table held in memory, for tests of the logic above IProcessTable.

#include <map>
#include <mutex>

#include "session/process_table.h"

namespace sondrel::testing {

struct FakeProcess {
  ProcessIds ids;
  std::string path;
  std::vector<std::string> arguments;
};

class FakeProcessTable final : public IProcessTable {
 public:
  void add(uint32_t pid, FakeProcess process) {
    std::lock_guard lock(mutex_);
    processes_[pid] = std::move(process);
  }
  void remove(uint32_t pid) {
    std::lock_guard lock(mutex_);
    processes_.erase(pid);
  }

  std::optional<ProcessIds> ids(uint32_t pid) const override {
    std::lock_guard lock(mutex_);
    const auto found = processes_.find(pid);
    if (found == processes_.end()) return std::nullopt;
    return found->second.ids;
  }
  std::optional<std::string> executablePath(uint32_t pid) const override {
    std::lock_guard lock(mutex_);
    const auto found = processes_.find(pid);
    if (found == processes_.end()) return std::nullopt;
    return found->second.path;
  }
  std::optional<std::vector<std::string>> arguments(uint32_t pid) const override {
    std::lock_guard lock(mutex_);
    const auto found = processes_.find(pid);
    if (found == processes_.end()) return std::nullopt;
    return found->second.arguments;
  }
  std::optional<std::vector<uint32_t>> listPids() const override {
    std::lock_guard lock(mutex_);
    std::vector<uint32_t> pids;
    for (const auto& entry : processes_) pids.push_back(entry.first);
    return pids;
  }

 private:
  mutable std::mutex mutex_;
  std::map<uint32_t, FakeProcess> processes_;
};

}  // namespace sondrel::testing
