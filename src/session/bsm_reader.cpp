#include "session/bsm_reader.h"

#include "frame/logger.h"
#include "session/bsm_token.h"

namespace sondrel::bsm {

namespace {

// The smallest header of each kind plus the trailer.
size_t minimumRecordLength(uint8_t id) {
  switch (id) {
    case kHeader32: return 18 + kTrailerLength;
    case kHeader32Ex: return 26 + kTrailerLength;
    case kHeader64: return 26 + kTrailerLength;
    default: return 34 + kTrailerLength;
  }
}

}  // namespace

Framing frameRecord(std::span<const uint8_t> bytes, size_t maxRecordBytes, bool acceptFileToken) {
  if (bytes.empty()) return {Framing::needMore};
  const uint8_t id = bytes[0];
  if (id == kOtherFile32 && acceptFileToken) {
    if (bytes.size() < 11) return {Framing::needMore};
    const size_t length = 11 + size_t{detail::be16(bytes.data() + 9)};
    if (bytes.size() < length) return {Framing::needMore};
    return {Framing::complete, length};
  }
  if (!isHeaderId(id)) return {Framing::invalid};
  if (bytes.size() < 5) return {Framing::needMore};
  const size_t length = detail::be32(bytes.data() + 1);
  if (length < minimumRecordLength(id) || length > maxRecordBytes) return {Framing::invalid};
  if (bytes.size() < length) return {Framing::needMore};
  // The trailer repeats the length: a header id that merely happens to be
  // here (while finding our way back into a damaged stream) rarely agrees.
  const uint8_t* trailer = bytes.data() + length - kTrailerLength;
  if (trailer[0] != kTrailer || detail::be16(trailer + 1) != kTrailerMagic || detail::be32(trailer + 3) != length) {
    return {Framing::invalid};
  }
  return {Framing::complete, length};
}

void RecordReader::feed(std::span<const uint8_t> bytes) {
  if (start_ > 0) {
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(start_));
    start_ = 0;
  }
  buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
}

std::optional<std::span<const uint8_t>> RecordReader::nextRecord() {
  while (start_ < buffer_.size()) {
    const std::span<const uint8_t> pending(buffer_.data() + start_, buffer_.size() - start_);
    const Framing framing = frameRecord(pending, maxRecordBytes_, acceptFileTokens_ && !skipping_);
    if (framing.kind == Framing::needMore) return std::nullopt;
    if (framing.kind == Framing::invalid) {
      noteSkip(1);
      ++start_;
      continue;
    }
    if (skipping_) {
      Logger::logWarning("BSM reader: found the next record after skipping damaged bytes ({} skipped in all)",
                         skippedBytes_);
      skipping_ = false;
    }
    start_ += framing.length;
    return pending.first(framing.length);
  }
  return std::nullopt;
}

void RecordReader::noteSkip(size_t count) {
  if (!skipping_) {
    Logger::logWarning("BSM reader: bytes that start no audit record, looking for the next record");
    skipping_ = true;
  }
  skippedBytes_ += count;
}

}  // namespace sondrel::bsm
