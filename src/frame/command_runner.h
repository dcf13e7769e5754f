#pragma once
// Runs one external program with an argument list and collects what it
// writes and how it ends. One runner serves one run.
// Thread contract: the run/stop calls block the caller; the state is read
// under a lock, so another thread may look at it while the program runs.

#include <spawn.h>
#include <sys/types.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "frame/dispatch.h"
#include "frame/owned.h"

namespace sondrel {

class ICommandRunner;
using OutputCallback = std::function<void(std::string_view chunk)>;
using ExitCallback = std::function<void(ICommandRunner& runner)>;

class ICommandRunner {
 public:
  virtual ~ICommandRunner() = default;

  [[nodiscard]] virtual std::string name() const = 0;
  [[nodiscard]] virtual std::optional<std::string> stdOut() const = 0;
  [[nodiscard]] virtual std::optional<std::string> stdErr() const = 0;
  [[nodiscard]] virtual std::optional<int> exitCode() const = 0;
  [[nodiscard]] virtual std::optional<std::string> error() const = 0;
  [[nodiscard]] virtual bool exited() const = 0;

  // Launches and waits for the end; false when the launch failed.
  virtual bool run() = 0;
  // Launches on queue and returns once the launch was tried; the end is
  // handled, and the exit callback called, on queue.
  virtual bool runInQueue(DispatchQueue& queue) = 0;
  // Terminates a running program and waits for its end.
  virtual void stop() = 0;
  // One-shot form: runs path with args (none when absent) to its end and keeps
  // the status and the complete output of both streams.
  virtual bool runWithCommand(const std::string& path, const std::optional<std::vector<std::string>>& args) = 0;
};

using CommandRunnerFactory = std::function<std::unique_ptr<ICommandRunner>()>;

class CommandRunner final : public ICommandRunner {
 public:
  CommandRunner();
  CommandRunner(std::string name, std::vector<std::string> args);
  CommandRunner(std::string name, std::vector<std::string> args, OutputCallback stdoutCallback,
                OutputCallback stderrCallback, ExitCallback exitCallback);
  // A program still running is terminated and reaped.
  ~CommandRunner() override;
  CommandRunner(const CommandRunner&) = delete;
  CommandRunner& operator=(const CommandRunner&) = delete;

  [[nodiscard]] std::string name() const override;
  [[nodiscard]] std::optional<std::string> stdOut() const override;
  [[nodiscard]] std::optional<std::string> stdErr() const override;
  [[nodiscard]] std::optional<int> exitCode() const override;
  [[nodiscard]] std::optional<std::string> error() const override;
  [[nodiscard]] bool exited() const override;

  bool run() override;
  bool runInQueue(DispatchQueue& queue) override;
  void stop() override;
  bool runWithCommand(const std::string& path, const std::optional<std::vector<std::string>>& args) override;

 private:
  bool launch();
  void waitForExit();

  mutable std::mutex mutex_;
  std::condition_variable exitHandled_;
  std::string name_;
  std::vector<std::string> args_;
  std::optional<std::string> stdOut_;
  std::optional<std::string> stdErr_;
  bool exited_ = false;
  std::optional<int> exitCode_;
  std::optional<std::string> error_;
  OutputCallback stdoutCallback_;
  OutputCallback stderrCallback_;
  ExitCallback exitCallback;

  pid_t pid_ = -1;
  bool reaping_ = false;
  bool exitDone_ = false;
  std::thread reader_;
  std::string collectedOut_;
  std::string collectedErr_;
};

// Platform seams of the runner: a close-on-exec pipe, and spawn settings that
// keep every descriptor but the three standard ones out of the child.
bool makeCloexecPipe(int fds[2]);
void closeInheritedDescriptors(posix_spawn_file_actions_t* fileActions, posix_spawnattr_t* spawnAttributes);

// Reads both pipes together until both reach their end, or the child has
// ended and nothing more is waiting (a grandchild may hold a pipe open).
void drainPipes(int outFd, int errFd, const OutputCallback& onOut, const OutputCallback& onErr,
                const std::function<bool()>& childEnded);

}  // namespace sondrel
