#include "session/linux/proc_connector_reader.h"

#include <linux/cn_proc.h>
#include <linux/connector.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "frame/logger.h"

namespace sondrel::linux_proc {

namespace {
// A fork storm sends tens of thousands of events per second; the kernel
// queues them here while we read /proc for the ones before.
constexpr int kReceiveBufferBytes = 32 * 1024 * 1024;
constexpr size_t kDatagramBytes = 64 * 1024;
}  // namespace

ProcConnectorReader::ProcConnectorReader(const IProcessTable& table) : table_(table) {}

ProcConnectorReader::~ProcConnectorReader() { loop_.stop(); }

ProcConnectorReader::Session::Session(UniqueFd opened, ProcessChangeSink changes, const IProcessTable& table)
    : socket(std::move(opened)), sink(std::move(changes)), tracker(table), datagram(kDatagramBytes) {}

ProcConnectorReader::Session::~Session() { sendListenRequest(false); }

bool ProcConnectorReader::start(ProcessChangeSink sink) {
  UniqueFd fd(::socket(PF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_CONNECTOR));
  if (!fd) {
    Logger::logError("Process connector: could not open the netlink socket: {}", std::strerror(errno));
    return false;
  }
  // Forcing past the system's limit needs privilege; the plain request is the fallback.
  if (::setsockopt(fd.get(), SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBufferBytes, sizeof kReceiveBufferBytes) != 0 &&
      ::setsockopt(fd.get(), SOL_SOCKET, SO_RCVBUF, &kReceiveBufferBytes, sizeof kReceiveBufferBytes) != 0) {
    Logger::logWarning("Process connector: could not enlarge the receive buffer: {}", std::strerror(errno));
  }
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = CN_IDX_PROC;
  address.nl_pid = 0;
  if (::bind(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    Logger::logError("Process connector: could not bind the netlink socket: {}", std::strerror(errno));
    return false;
  }
  auto session = std::make_shared<Session>(std::move(fd), std::move(sink), table_);
  if (!session->sendListenRequest(true)) return false;
  session_ = session;
  return loop_.start(session->socket.get(), [session] { return session->readAvailable(); });
}

void ProcConnectorReader::stop() {
  if (session_) session_->stopRequested = true;
  loop_.stop();
}

bool ProcConnectorReader::Session::sendListenRequest(bool listen) {
  nlmsghdr header{};
  cn_msg message{};
  const proc_cn_mcast_op operation = listen ? PROC_CN_MCAST_LISTEN : PROC_CN_MCAST_IGNORE;
  uint8_t request[sizeof header + sizeof message + sizeof operation];
  header.nlmsg_len = sizeof request;
  header.nlmsg_type = NLMSG_DONE;
  header.nlmsg_pid = static_cast<uint32_t>(::getpid());
  message.id.idx = CN_IDX_PROC;
  message.id.val = CN_VAL_PROC;
  message.len = sizeof operation;
  std::memcpy(request, &header, sizeof header);
  std::memcpy(request + sizeof header, &message, sizeof message);
  std::memcpy(request + sizeof header + sizeof message, &operation, sizeof operation);
  if (::send(socket.get(), request, sizeof request, 0) != static_cast<ssize_t>(sizeof request)) {
    Logger::logError("Process connector: could not {} events: {}", listen ? "subscribe to" : "unsubscribe from",
                     std::strerror(errno));
    return false;
  }
  return true;
}

bool ProcConnectorReader::Session::readAvailable() {
  // Hand back to the loop now and then, so a stop is seen even in a storm.
  for (int datagrams = 0; datagrams < 512; ++datagrams) {
    sockaddr_nl sender{};
    socklen_t senderLength = sizeof sender;
    const ssize_t count = ::recvfrom(socket.get(), datagram.data(), datagram.size(), 0,
                                     reinterpret_cast<sockaddr*>(&sender), &senderLength);
    if (count < 0) {
      if (errno == EAGAIN || errno == EWOULDBLOCK) return true;
      if (errno == EINTR) continue;
      if (errno == ENOBUFS) {
        ++overflows;
        Logger::logWarning("Process connector: events were lost, the receive buffer overflowed ({} times so far)",
                           overflows);
        continue;
      }
      Logger::logError("Process connector: reading failed: {}", std::strerror(errno));
      return false;
    }
    // Only the kernel speaks for the process connector.
    if (sender.nl_pid != 0) continue;
    for (const auto& event : parseConnectorDatagram(std::span(datagram.data(), static_cast<size_t>(count)))) {
      if (stopRequested) return false;
      if (auto change = tracker.handleEvent(event)) sink(*change);
    }
  }
  return true;
}

}  // namespace sondrel::linux_proc
