#include <fcntl.h>
#include <unistd.h>

#include "frame/command_runner.h"

namespace sondrel {

bool makeCloexecPipe(int fds[2]) { return ::pipe2(fds, O_CLOEXEC) == 0; }

void closeInheritedDescriptors(posix_spawn_file_actions_t* fileActions, posix_spawnattr_t*) {
  posix_spawn_file_actions_addclosefrom_np(fileActions, 3);
}

}  // namespace sondrel
