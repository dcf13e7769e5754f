#include <pwd.h>

#include <mutex>

#include "frame/users.h"

namespace sondrel::CommonUtils {

std::vector<UserAccount> listUserAccounts() {
  // getpwent walks one process-wide cursor.
  static std::mutex cursorMutex;
  std::lock_guard lock(cursorMutex);
  std::vector<UserAccount> accounts;
  ::setpwent();
  while (const passwd* entry = ::getpwent()) {
    auto account = userAccountFrom(*entry);
    if (isLoginAccount(account)) accounts.push_back(std::move(account));
  }
  ::endpwent();
  return accounts;
}

std::vector<std::string> listUsers() {
  std::vector<std::string> names;
  for (auto& account : listUserAccounts()) names.push_back(std::move(account.name));
  return names;
}

}  // namespace sondrel::CommonUtils
