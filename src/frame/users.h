#pragma once
// The machine's local people: their account names and home folders.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct passwd;

namespace sondrel {

struct UserAccount {
  std::string name;
  uint32_t uid = 0;
  std::string home;
  std::string shell;
};

// The account of a password-database entry; missing fields are empty.
[[nodiscard]] UserAccount userAccountFrom(const passwd& entry);

// A person who can log in, as opposed to root, daemons and service accounts.
[[nodiscard]] bool isLoginAccount(const UserAccount& account);

// The password-database entry of a user name, or nothing when it is unknown.
[[nodiscard]] std::optional<UserAccount> lookUpUser(const std::string& name);

// The login name of a user id, or nothing when it is unknown.
[[nodiscard]] std::optional<std::string> userNameForUid(uint32_t uid);

namespace CommonUtils {

// Local user account names (macOS: the local identity authority; Linux: the
// password database, login accounts only).
[[nodiscard]] std::vector<std::string> listUsers();

// The accounts of listUsers() with their password-database entries, read in
// one pass; a user without an entry is left out.
[[nodiscard]] std::vector<UserAccount> listUserAccounts();

// The home folder of a user, or nothing when the user is unknown.
[[nodiscard]] std::optional<std::string> homeDirectoryForUser(const std::string& name);

}  // namespace CommonUtils
}  // namespace sondrel
