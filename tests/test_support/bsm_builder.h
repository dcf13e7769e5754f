#pragma once
// Writes BSM audit records the way the macOS kernel and libbsm lay them out,
// for hand-made test fixtures: header, the tokens in call order, trailer.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace sondrel::testing {

class BsmRecordBuilder {
 public:
  // headerId: 0x14, 0x15 (IPv4 host), 0x74 or 0x79 (IPv4 host).
  explicit BsmRecordBuilder(uint16_t event, uint8_t headerId = 0x14) : event_(event), headerId_(headerId) {}

  BsmRecordBuilder& arg32(uint8_t number, uint32_t value, std::string_view text) {
    byte(0x2d).byte(number).u32(value).counted(text);
    return *this;
  }
  BsmRecordBuilder& arg64(uint8_t number, uint64_t value, std::string_view text) {
    byte(0x71).byte(number).u64(value).counted(text);
    return *this;
  }
  BsmRecordBuilder& subject32(uint32_t pid, uint32_t euid = 501, uint32_t ruid = 501, uint32_t sid = 100007) {
    byte(0x24).u32(501).u32(euid).u32(20).u32(ruid).u32(20).u32(pid).u32(sid).u32(50331650);
    return bytes({0, 0, 0, 0});
  }
  BsmRecordBuilder& subject64Ex(uint32_t pid, uint64_t port, std::initializer_list<uint8_t> address) {
    byte(0x7c).u32(501).u32(501).u32(20).u32(501).u32(20).u32(pid).u32(100007).u64(port);
    u32(static_cast<uint32_t>(address.size()));
    return bytes(address);
  }
  BsmRecordBuilder& path(std::string_view text) {
    byte(0x23).counted(text);
    return *this;
  }
  BsmRecordBuilder& text(std::string_view text) {
    byte(0x28).counted(text);
    return *this;
  }
  BsmRecordBuilder& execArgs(const std::vector<std::string>& arguments) {
    byte(0x3c).u32(static_cast<uint32_t>(arguments.size()));
    for (const auto& argument : arguments) {
      out_.insert(out_.end(), argument.begin(), argument.end());
      byte(0);
    }
    return *this;
  }
  BsmRecordBuilder& attr32() {
    byte(0x3e);
    return bytes(std::vector<uint8_t>(28, 0x7));
  }
  BsmRecordBuilder& exit(uint32_t status, uint32_t ret = 0) {
    byte(0x52).u32(status).u32(ret);
    return *this;
  }
  BsmRecordBuilder& return32(uint8_t status, uint32_t value) {
    byte(0x27).byte(status).u32(value);
    return *this;
  }
  // Apple's identity token, as every kernel record since 10.14 carries it.
  BsmRecordBuilder& identity(std::string_view signingId, std::string_view teamId) {
    byte(0xed).u32(1).counted(signingId).byte(0).counted(teamId).byte(0).u16(20);
    return bytes(std::vector<uint8_t>(20, 0x5a));
  }
  BsmRecordBuilder& bytes(const std::vector<uint8_t>& raw) {
    out_.insert(out_.end(), raw.begin(), raw.end());
    return *this;
  }
  BsmRecordBuilder& bytes(std::initializer_list<uint8_t> raw) {
    out_.insert(out_.end(), raw.begin(), raw.end());
    return *this;
  }

  [[nodiscard]] std::vector<uint8_t> build() const {
    const bool extended = headerId_ == 0x15 || headerId_ == 0x79;
    const bool wide = headerId_ == 0x74 || headerId_ == 0x79;
    const size_t headerLength = 10 + (extended ? 8 : 0) + (wide ? 16 : 8);
    const auto size = static_cast<uint32_t>(headerLength + out_.size() + 7);
    BsmRecordBuilder record(event_, headerId_);
    record.byte(headerId_).u32(size).byte(11).u16(event_).u16(0);
    if (extended) record.u32(4).bytes({192, 168, 1, 20});
    if (wide) {
      record.u64(1700000000).u64(250);
    } else {
      record.u32(1700000000).u32(250);
    }
    record.bytes(out_);
    record.byte(0x13).u16(0xb105).u32(size);
    return record.out_;
  }

  BsmRecordBuilder& byte(uint8_t value) {
    out_.push_back(value);
    return *this;
  }
  BsmRecordBuilder& u16(uint16_t value) { return byte(static_cast<uint8_t>(value >> 8)).byte(static_cast<uint8_t>(value)); }
  BsmRecordBuilder& u32(uint32_t value) { return u16(static_cast<uint16_t>(value >> 16)).u16(static_cast<uint16_t>(value)); }
  BsmRecordBuilder& u64(uint64_t value) { return u32(static_cast<uint32_t>(value >> 32)).u32(static_cast<uint32_t>(value)); }

 private:
  BsmRecordBuilder& counted(std::string_view text) {
    u16(static_cast<uint16_t>(text.size() + 1));
    out_.insert(out_.end(), text.begin(), text.end());
    return byte(0);
  }

  uint16_t event_;
  uint8_t headerId_;
  std::vector<uint8_t> out_;
};

// Several records laid end to end, as a trail file or one pipe read holds them.
inline std::vector<uint8_t> concatenate(std::initializer_list<std::vector<uint8_t>> records) {
  std::vector<uint8_t> out;
  for (const auto& record : records) out.insert(out.end(), record.begin(), record.end());
  return out;
}

}  // namespace sondrel::testing
