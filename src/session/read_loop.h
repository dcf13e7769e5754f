#pragma once
// Runs a blocking reader on a thread of the global queue and wakes it for
// stop at once: the loop polls its descriptor beside a pipe of its own, so
// stop() never waits for the next event to arrive.
// Thread contract: start and stop from any thread; onReadable runs on the loop's thread.

#include <functional>
#include <memory>
#include <string>

namespace sondrel {

class ReadLoop {
 public:
  // Called when fd has data (or has hung up); false ends the loop.
  using OnReadable = std::function<bool()>;

  explicit ReadLoop(std::string name);
  ~ReadLoop();
  ReadLoop(const ReadLoop&) = delete;
  ReadLoop& operator=(const ReadLoop&) = delete;

  // False (logged) when the wake pipe can't be made. fd stays the caller's.
  bool start(int fd, OnReadable onReadable);
  // Returns when onReadable will not run again, or at once when called from it.
  void stop();

 private:
  struct State;
  std::string name_;
  std::shared_ptr<State> state_;
};

}  // namespace sondrel
