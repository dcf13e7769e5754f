#pragma once
// Cuts a BSM byte stream into records. The audit pipe is a byte stream: one
// read may end inside a record, so records are framed by the length in their
// header (or, for the stand-alone file token of trail files, by its name
// length). Bytes that start no record are skipped until one starts again.
// Thread contract: one reader per stream, used from one thread at a time.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace sondrel::bsm {

// Kernel records are at most 32767 bytes; other writers stay far below this.
inline constexpr size_t kMaxRecordBytes = 1024 * 1024;

struct Framing {
  enum Kind { complete, needMore, invalid } kind;
  size_t length = 0;  // complete: the record's length
};

// Frames the record that starts at bytes[0]. A file token carries no length
// to check it by, so it is taken only where a record is known to start.
[[nodiscard]] Framing frameRecord(std::span<const uint8_t> bytes, size_t maxRecordBytes = kMaxRecordBytes,
                                  bool acceptFileToken = true);

class RecordReader {
 public:
  // The audit pipe never delivers file tokens; trail files start and end with one.
  explicit RecordReader(bool acceptFileTokens = true, size_t maxRecordBytes = kMaxRecordBytes)
      : acceptFileTokens_(acceptFileTokens), maxRecordBytes_(maxRecordBytes) {}

  // Appends the bytes of one read.
  void feed(std::span<const uint8_t> bytes);
  // The next whole record, valid until the next feed(); nothing until more bytes come.
  std::optional<std::span<const uint8_t>> nextRecord();

  // Bytes dropped because they started no record.
  [[nodiscard]] uint64_t skippedBytes() const { return skippedBytes_; }
  // Bytes held for a record not yet complete.
  [[nodiscard]] size_t pendingBytes() const { return buffer_.size() - start_; }

 private:
  void noteSkip(size_t count);

  bool acceptFileTokens_;
  size_t maxRecordBytes_;
  std::vector<uint8_t> buffer_;
  size_t start_ = 0;
  uint64_t skippedBytes_ = 0;
  bool skipping_ = false;
};

// Calls visit(offset, record) for every record of a whole in-memory trail;
// returns the number of bytes skipped because they started no record.
template <typename Visit>
uint64_t forEachRecord(std::span<const uint8_t> trail, Visit&& visit) {
  size_t offset = 0;
  uint64_t skipped = 0;
  bool resynced = true;
  while (offset < trail.size()) {
    const Framing framing = frameRecord(trail.subspan(offset), kMaxRecordBytes, resynced);
    if (framing.kind == Framing::complete) {
      visit(offset, trail.subspan(offset, framing.length));
      resynced = true;
      offset += framing.length;
    } else {
      // Not a record, or a damaged length reaching past the end (nothing more
      // will come): look for a record behind it.
      ++skipped;
      ++offset;
      resynced = false;
    }
  }
  return skipped;
}

}  // namespace sondrel::bsm
