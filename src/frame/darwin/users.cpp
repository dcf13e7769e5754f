#include <CoreServices/CoreServices.h>

#include "frame/darwin/cf_utils.h"
#include "frame/users.h"

namespace sondrel::CommonUtils {

// The visible user identities of the local identity authority.
std::vector<std::string> listUsers() {
  std::vector<std::string> names;
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
  CFOwned<CSIdentityQueryRef> query(
      CSIdentityQueryCreate(kCFAllocatorDefault, kCSIdentityClassUser, CSGetLocalIdentityAuthority()));
  if (!query || !CSIdentityQueryExecute(query.get(), 0, nullptr)) return names;
  CFOwned<CFArrayRef> identities(CSIdentityQueryCopyResults(query.get()));
  if (!identities) return names;
  const CFIndex count = CFArrayGetCount(identities.get());
  for (CFIndex i = 0; i < count; ++i) {
    auto identity = static_cast<CSIdentityRef>(const_cast<void*>(CFArrayGetValueAtIndex(identities.get(), i)));
    if (auto name = toUtf8(CSIdentityGetPosixName(identity))) names.push_back(std::move(*name));
  }
#pragma clang diagnostic pop
  return names;
}

// The identity authority knows names only; the rest comes from the password database.
std::vector<UserAccount> listUserAccounts() {
  std::vector<UserAccount> accounts;
  for (const auto& name : listUsers()) {
    if (auto account = lookUpUser(name)) accounts.push_back(std::move(*account));
  }
  return accounts;
}

}  // namespace sondrel::CommonUtils
