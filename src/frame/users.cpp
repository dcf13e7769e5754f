#include "frame/users.h"

#include <pwd.h>
#include <unistd.h>

#include <vector>

namespace sondrel {

namespace {
constexpr uint32_t kFirstLoginUid = 1000;
constexpr uint32_t kNobodyUid = 65534;
}  // namespace

bool isLoginAccount(const UserAccount& account) {
  if (account.name.empty() || account.home.empty()) return false;
  if (account.uid < kFirstLoginUid || account.uid == kNobodyUid) return false;
  const std::string& shell = account.shell;
  return !(shell.ends_with("/nologin") || shell.ends_with("/false"));
}

std::optional<UserAccount> lookUpUser(const std::string& name) {
  long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(suggested > 0 ? static_cast<size_t>(suggested) : 16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
    return std::nullopt;
  }
  return UserAccount{found->pw_name ? found->pw_name : name, static_cast<uint32_t>(found->pw_uid),
                     found->pw_dir ? found->pw_dir : "", found->pw_shell ? found->pw_shell : ""};
}

std::optional<std::string> userNameForUid(uint32_t uid) {
  const long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(suggested > 0 ? static_cast<size_t>(suggested) : 16384);
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
