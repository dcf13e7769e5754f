#include <pwd.h>

#include <mutex>

#include "frame/users.h"

namespace sondrel::CommonUtils {

std::vector<std::string> listUsers() {
  // getpwent walks one process-wide cursor.
  static std::mutex cursorMutex;
  std::lock_guard lock(cursorMutex);
  std::vector<std::string> names;
  ::setpwent();
  while (const passwd* entry = ::getpwent()) {
    UserAccount account{entry->pw_name ? entry->pw_name : "", static_cast<uint32_t>(entry->pw_uid),
                        entry->pw_dir ? entry->pw_dir : "", entry->pw_shell ? entry->pw_shell : ""};
    if (isLoginAccount(account)) names.push_back(std::move(account.name));
  }
  ::endpwent();
  return names;
}

}  // namespace sondrel::CommonUtils
