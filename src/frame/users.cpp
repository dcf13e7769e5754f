#include "frame/users.h"

#include <pwd.h>
#include <unistd.h>

#include <vector>

namespace sondrel {

namespace {
constexpr uint32_t kFirstLoginUid = 1000;
constexpr uint32_t kNobodyUid = 65534;

// Room for the strings of one getpw*_r entry, as large as the system suggests.
std::vector<char> passwdBuffer() {
  const long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
  return std::vector<char>(suggested > 0 ? static_cast<size_t>(suggested) : 16384);
}
}  // namespace

UserAccount userAccountFrom(const passwd& entry) {
  return UserAccount{entry.pw_name ? entry.pw_name : "", static_cast<uint32_t>(entry.pw_uid),
                     entry.pw_dir ? entry.pw_dir : "", entry.pw_shell ? entry.pw_shell : ""};
}

bool isLoginAccount(const UserAccount& account) {
  if (account.name.empty() || account.home.empty()) return false;
  if (account.uid < kFirstLoginUid || account.uid == kNobodyUid) return false;
  const std::string& shell = account.shell;
  return !(shell.ends_with("/nologin") || shell.ends_with("/false"));
}

std::optional<UserAccount> lookUpUser(const std::string& name) {
  auto buffer = passwdBuffer();
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
    return std::nullopt;
  }
  auto account = userAccountFrom(*found);
  if (found->pw_name == nullptr) account.name = name;
  return account;
}

std::optional<std::string> userNameForUid(uint32_t uid) {
  auto buffer = passwdBuffer();
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(static_cast<uid_t>(uid), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr ||
      found->pw_name == nullptr) {
    return std::nullopt;
  }
  return std::string(found->pw_name);
}

namespace CommonUtils {

std::optional<std::string> homeDirectoryForUser(const std::string& name) {
  auto account = lookUpUser(name);
  if (!account || account->home.empty()) return std::nullopt;
  return account->home;
}

}  // namespace CommonUtils
}  // namespace sondrel
