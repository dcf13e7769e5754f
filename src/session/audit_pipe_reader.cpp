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
    : openPipe_(std::move(openPipe)), table_(table) {}

AuditPipeReader::~AuditPipeReader() { loop_.stop(); }

AuditPipeReader::Session::Session(AuditPipe opened, ProcessChangeSink changes, const IProcessTable& table)
    : pipe(std::move(opened)), sink(std::move(changes)), tracker(table), chunk(kReadChunkBytes) {
  if (pipe.readDrops) reportedDrops = pipe.readDrops().value_or(0);
}

bool AuditPipeReader::start(ProcessChangeSink sink) {
  auto opened = openPipe_();
  if (!opened) return false;
  session_ = std::make_shared<Session>(std::move(*opened), std::move(sink), table_);
  return loop_.start(session_->pipe.fd.get(), [session = session_] { return session->readAvailable(); });
}

void AuditPipeReader::stop() {
  if (session_) session_->stopRequested = true;
  loop_.stop();
}

bool AuditPipeReader::Session::readAvailable() {
  const ssize_t count = ::read(pipe.fd.get(), chunk.data(), chunk.size());
  if (count < 0) {
    if (errno == EINTR || errno == EAGAIN) return true;
    Logger::logError("Reading the audit pipe failed: {}", std::strerror(errno));
    return false;
  }
  if (count == 0) {
    Logger::logError("The audit pipe was closed");
    return false;
  }
  records.feed(std::span<const uint8_t>(chunk.data(), static_cast<size_t>(count)));
  while (const auto record = records.nextRecord()) {
    if (stopRequested) return false;
    if (auto change = tracker.handleRecord(*record)) sink(*change);
  }
  if (pipe.readDrops) {
    const uint64_t drops = pipe.readDrops().value_or(reportedDrops);
    if (drops > reportedDrops) {
      Logger::logWarning("The audit pipe dropped {} records ({} since it was opened)", drops - reportedDrops, drops);
      reportedDrops = drops;
    }
  }
  return true;
}

}  // namespace sondrel
