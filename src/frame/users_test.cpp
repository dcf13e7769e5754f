#include "frame/users.h"

#include <gtest/gtest.h>

namespace sondrel {
namespace {

TEST(LoginAccounts, ArePeopleNotRootDaemonsOrLockedAccounts) {
  EXPECT_TRUE(isLoginAccount({"alice", 1000, "/home/alice", "/bin/bash"}));
  EXPECT_TRUE(isLoginAccount({"bob", 501000, "/home/bob", ""}));
  EXPECT_FALSE(isLoginAccount({"root", 0, "/root", "/bin/bash"}));
  EXPECT_FALSE(isLoginAccount({"www-data", 33, "/var/www", "/usr/sbin/nologin"}));
  EXPECT_FALSE(isLoginAccount({"nobody", 65534, "/nonexistent", "/usr/sbin/nologin"}));
  EXPECT_FALSE(isLoginAccount({"svc", 1500, "/home/svc", "/bin/false"}));
  EXPECT_FALSE(isLoginAccount({"ghost", 1200, "", "/bin/sh"}));
}

TEST(HomeDirectory, IsKnownForRootAndUnknownForStrangers) {
  EXPECT_TRUE(CommonUtils::homeDirectoryForUser("root").has_value());
  EXPECT_FALSE(CommonUtils::homeDirectoryForUser("no-such-user-for-sure"));
}

// Scans take the home folders from the one-pass listing instead of asking per user.
TEST(HomeDirectory, ListedAccountsAreTheListedUsersWithTheirLookedUpHomes) {
  const auto names = CommonUtils::listUsers();
  const auto accounts = CommonUtils::listUserAccounts();
  ASSERT_EQ(accounts.size(), names.size());
  for (size_t i = 0; i < accounts.size(); ++i) {
    EXPECT_EQ(accounts[i].name, names[i]);
    EXPECT_EQ(CommonUtils::homeDirectoryForUser(accounts[i].name), accounts[i].home) << accounts[i].name;
  }
}

}  // namespace
}  // namespace sondrel
