#include "session/audit_pipe_reader.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "frame/logger.h"

namespace sondrel {

namespace {
// Several kernel records per read, so a burst drains in few calls.
constexpr size_t kReadChunkBytes = 256 * 1024;
}  // namespace

AuditPipeReader::AuditPipeReader(std::function<std::optional<AuditPipe>()> openPipe, const IProcessTable& table)
    : openPipe_(std::move(openPipe)), tracker_(table), chunk_(kReadChunkBytes) {}

AuditPipeReader::~AuditPipeReader() { loop_.stop(); }

bool AuditPipeReader::start(ProcessChangeSink sink) {
  auto opened = openPipe_();
  if (!opened) return false;
  pipe_ = std::move(*opened);
  sink_ = std::move(sink);
  if (pipe_.readDrops) reportedDrops_ = pipe_.readDrops().value_or(0);
  return loop_.start(pipe_.fd.get(), [this] { return readAvailable(); });
}

void AuditPipeReader::stop() { loop_.stop(); }

bool AuditPipeReader::readAvailable() {
  const ssize_t count = ::read(pipe_.fd.get(), chunk_.data(), chunk_.size());
  if (count < 0) {
    if (errno == EINTR || errno == EAGAIN) return true;
    Logger::logError("Reading the audit pipe failed: {}", std::strerror(errno));
    return false;
  }
  if (count == 0) {
    Logger::logError("The audit pipe was closed");
    return false;
  }
  records_.feed(std::span<const uint8_t>(chunk_.data(), static_cast<size_t>(count)));
  while (const auto record = records_.nextRecord()) {
    if (auto change = tracker_.handleRecord(*record)) sink_(*change);
  }
  if (pipe_.readDrops) {
    const uint64_t drops = pipe_.readDrops().value_or(reportedDrops_);
    if (drops > reportedDrops_) {
      Logger::logWarning("The audit pipe dropped {} records ({} since it was opened)", drops - reportedDrops_, drops);
      reportedDrops_ = drops;
    }
  }
  return true;
}

}  // namespace sondrel
