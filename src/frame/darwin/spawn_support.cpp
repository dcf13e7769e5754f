#include <fcntl.h>
#include <unistd.h>

#include "frame/command_runner.h"

namespace sondrel {

bool makeCloexecPipe(int fds[2]) {
  if (::pipe(fds) != 0) return false;
  for (int i = 0; i < 2; ++i) {
    if (::fcntl(fds[i], F_SETFD, FD_CLOEXEC) != 0) {
      ::close(fds[0]);
      ::close(fds[1]);
      return false;
    }
  }
  return true;
}

// Every descriptor is closed in the child except the ones the file actions
// set up (standard input, output and error).
void closeInheritedDescriptors(posix_spawn_file_actions_t* fileActions, posix_spawnattr_t* spawnAttributes) {
  short flags = 0;
  posix_spawnattr_getflags(spawnAttributes, &flags);
  posix_spawnattr_setflags(spawnAttributes, flags | POSIX_SPAWN_CLOEXEC_DEFAULT);
  for (int fd = 0; fd <= 2; ++fd) posix_spawn_file_actions_addinherit_np(fileActions, fd);
}

}  // namespace sondrel
