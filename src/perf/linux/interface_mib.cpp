// The interface table from /sys/class/net: one row per interface folder, in
// name order, with the 64-bit byte counters and the link speed.

#include <charconv>
#include <string>
#include <vector>

#include "perf/linux/small_file.h"
#include "perf/net_stats_utils.h"

namespace sondrel {

namespace {

constexpr const char* kNetClass = "/sys/class/net";

std::optional<int64_t> readNumber(const std::string& path) {
  const auto text = readKernelFile(path, 64);
  if (!text) return std::nullopt;
  int64_t value = 0;
  if (std::from_chars(text->data(), text->data() + text->size(), value).ec != std::errc()) return std::nullopt;
  return value;
}

class SysClassNetMib final : public IInterfaceMib {
 public:
  std::optional<uint32_t> interfaceCount() override {
    names_.clear();
    names_ = listFolder(kNetClass).value_or(std::vector<std::string>{});
    if (names_.empty()) return std::nullopt;
    return static_cast<uint32_t>(names_.size());
  }

  std::optional<InterfaceMibRow> row(uint32_t row) override {
    if (row == 0 || row > names_.size()) return std::nullopt;
    const std::string& name = names_[row - 1];
    const std::string folder = std::string(kNetClass) + "/" + name;
    const auto received = readNumber(folder + "/statistics/rx_bytes");
    const auto sent = readNumber(folder + "/statistics/tx_bytes");
    if (!received || !sent) return std::nullopt;
    // Megabits per second; virtual links answer -1 or refuse the read.
    const auto megabits = readNumber(folder + "/speed");
    const uint64_t speed = megabits && *megabits > 0 ? static_cast<uint64_t>(*megabits) * 1000000 : 0;
    return InterfaceMibRow{name, speed, static_cast<uint64_t>(*received), static_cast<uint64_t>(*sent)};
  }

 private:
  std::vector<std::string> names_;
};

}  // namespace

std::unique_ptr<IInterfaceMib> makeInterfaceMib() { return std::make_unique<SysClassNetMib>(); }

}  // namespace sondrel
