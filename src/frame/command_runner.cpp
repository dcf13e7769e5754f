#include "frame/command_runner.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <future>

#include "frame/logger.h"

extern char** environ;

namespace sondrel {

namespace {

constexpr size_t kReadChunk = 64 * 1024;
constexpr int kPollSliceMs = 50;

int terminationStatus(int waitStatus) {
  if (WIFEXITED(waitStatus)) return WEXITSTATUS(waitStatus);
  if (WIFSIGNALED(waitStatus)) return WTERMSIG(waitStatus);
  return waitStatus;
}

}  // namespace

void drainPipes(int outFd, int errFd, const OutputCallback& onOut, const OutputCallback& onErr,
                const std::function<bool()>& childEnded) {
  pollfd fds[2] = {{outFd, POLLIN, 0}, {errFd, POLLIN, 0}};
  const OutputCallback* sinks[2] = {&onOut, &onErr};
  std::string chunk(kReadChunk, '\0');
  while (fds[0].fd >= 0 || fds[1].fd >= 0) {
    const int ready = ::poll(fds, 2, kPollSliceMs);
    if (ready < 0) {
      if (errno == EINTR) continue;
      return;
    }
    if (ready == 0) {
      if (childEnded()) return;  // the child is gone and nothing more is waiting
      continue;
    }
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || fds[i].revents == 0) continue;
      const ssize_t count = ::read(fds[i].fd, chunk.data(), chunk.size());
      if (count > 0) {
        (*sinks[i])(std::string_view(chunk.data(), static_cast<size_t>(count)));
      } else if (count == 0 || (errno != EINTR && errno != EAGAIN)) {
        fds[i].fd = -1;  // end of file: poll skips negative descriptors
      }
    }
  }
}

CommandRunner::CommandRunner() = default;

CommandRunner::CommandRunner(std::string name, std::vector<std::string> args)
    : name_(std::move(name)), args_(std::move(args)) {}

CommandRunner::CommandRunner(std::string name, std::vector<std::string> args, OutputCallback stdoutCallback,
                             OutputCallback stderrCallback, ExitCallback exitCallback)
    : name_(std::move(name)),
      args_(std::move(args)),
      stdoutCallback_(std::move(stdoutCallback)),
      stderrCallback_(std::move(stderrCallback)),
      exitCallback(std::move(exitCallback)) {}

CommandRunner::~CommandRunner() {
  bool running;
  {
    std::lock_guard lock(mutex_);
    running = pid_ > 0 && !exited_;
  }
  if (running) stop();
  if (reader_.joinable()) reader_.join();
}

std::string CommandRunner::name() const {
  std::lock_guard lock(mutex_);
  return name_;
}
std::optional<std::string> CommandRunner::stdOut() const {
  std::lock_guard lock(mutex_);
  return stdOut_;
}
std::optional<std::string> CommandRunner::stdErr() const {
  std::lock_guard lock(mutex_);
  return stdErr_;
}
std::optional<int> CommandRunner::exitCode() const {
  std::lock_guard lock(mutex_);
  return exitCode_;
}
std::optional<std::string> CommandRunner::error() const {
  std::lock_guard lock(mutex_);
  return error_;
}
bool CommandRunner::exited() const {
  std::lock_guard lock(mutex_);
  return exited_;
}

bool CommandRunner::launch() {
  std::unique_lock lock(mutex_);
  // Keeps the reason and logs it outside the lock.
  const auto fail = [&](const std::string& reason) {
    error_ = reason;
    lock.unlock();
    Logger::logError("Could not launch {}. Error: {}", name_, reason);
    return false;
  };
  if (pid_ > 0) return fail("the runner has already run");
  int outPipe[2];
  int errPipe[2];
  if (!makeCloexecPipe(outPipe)) return fail(std::strerror(errno));
  if (!makeCloexecPipe(errPipe)) {
    const std::string reason = std::strerror(errno);
    ::close(outPipe[0]);
    ::close(outPipe[1]);
    return fail(reason);
  }
  UniqueFd outRead(outPipe[0]), outWrite(outPipe[1]), errRead(errPipe[0]), errWrite(errPipe[1]);

  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  posix_spawn_file_actions_init(&actions);
  posix_spawnattr_init(&attributes);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, outWrite.get(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errWrite.get(), STDERR_FILENO);
  closeInheritedDescriptors(&actions, &attributes);

  std::vector<char*> argv;
  argv.push_back(name_.data());
  for (auto& argument : args_) argv.push_back(argument.data());
  argv.push_back(nullptr);

  pid_t pid = -1;
  const int result = ::posix_spawn(&pid, name_.c_str(), &actions, &attributes, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (result != 0) return fail(std::strerror(result));
  pid_ = pid;
  outWrite.reset();
  errWrite.reset();

  // Both pipes are read from the start, so the child never blocks on a full pipe.
  reader_ = std::thread([this, out = std::move(outRead), err = std::move(errRead)] {
    OutputCallback onOut = stdoutCallback_ ? stdoutCallback_
                                           : OutputCallback([this](std::string_view c) { collectedOut_.append(c); });
    OutputCallback onErr = stderrCallback_ ? stderrCallback_
                                           : OutputCallback([this](std::string_view c) { collectedErr_.append(c); });
    drainPipes(out.get(), err.get(), onOut, onErr, [this] {
      std::lock_guard guard(mutex_);
      return reaping_ && exited_;
    });
  });
  return true;
}

void CommandRunner::waitForExit() {
  std::unique_lock lock(mutex_);
  if (pid_ <= 0) return;
  if (reaping_) {
    exitHandled_.wait(lock, [&] { return exitDone_; });
    return;
  }
  reaping_ = true;
  const pid_t pid = pid_;
  lock.unlock();

  int status = 0;
  pid_t waited;
  do {
    waited = ::waitpid(pid, &status, 0);
  } while (waited < 0 && errno == EINTR);

  lock.lock();
  exited_ = true;
  exitCode_ = waited == pid ? terminationStatus(status) : -1;
  lock.unlock();
  if (reader_.joinable()) reader_.join();

  lock.lock();
  if (!stdoutCallback_) stdOut_ = std::move(collectedOut_);
  if (!stderrCallback_) stdErr_ = std::move(collectedErr_);
  stdoutCallback_ = nullptr;
  stderrCallback_ = nullptr;
  ExitCallback onExit = std::move(exitCallback);
  exitCallback = nullptr;
  lock.unlock();
  if (onExit) onExit(*this);
  lock.lock();
  exitDone_ = true;
  exitHandled_.notify_all();
}

bool CommandRunner::run() {
  if (!launch()) return false;
  waitForExit();
  return true;
}

bool CommandRunner::runInQueue(DispatchQueue& queue) {
  auto launched = std::make_shared<std::promise<bool>>();
  auto outcome = launched->get_future();
  queue.async([this, launched] {
    const bool ok = launch();
    launched->set_value(ok);
    if (ok) waitForExit();
  });
  return outcome.get();
}

void CommandRunner::stop() {
  {
    std::lock_guard lock(mutex_);
    if (pid_ <= 0) return;
    if (!exited_) ::kill(pid_, SIGTERM);
  }
  waitForExit();
}

bool CommandRunner::runWithCommand(const std::string& path, const std::optional<std::vector<std::string>>& args) {
  {
    std::lock_guard lock(mutex_);
    name_ = path;
    args_ = args.value_or(std::vector<std::string>{});
  }
  return run();
}

}  // namespace sondrel
