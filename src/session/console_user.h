#pragma once
// The console user, shared by the session source (which sees it change), the
// process-following sources (which are told) and the host (exported globals).
// Thread contract: every function may be called from any thread; the user
// events callback is kept under callbackMutex, the saved user under userNameMutex.

#include <optional>
#include <string>

#include "sondrel/sondrel.h"

namespace sondrel {

// The session source, as the console-user change handler sees it.
class IConsoleUserObserver {
 public:
  virtual ~IConsoleUserObserver() = default;
  virtual void onUserSwitched(const std::optional<std::string>& userName) = 0;
};

namespace ConsoleUser {

// The login window is not a user.
[[nodiscard]] std::optional<std::string> normalizeConsoleUser(std::optional<std::string> name);

// Tells the registered process-following sources, then keeps the name.
void userSwitched(const std::optional<std::string>& userName);
[[nodiscard]] std::optional<std::string> lastSwitchedUser();

void setSavedUserName(const std::optional<std::string>& userName);
[[nodiscard]] std::optional<std::string> savedUser();

void setUserEventsCallback(UserEventCallback callback);
[[nodiscard]] UserEventCallback getUserEventsCallback();
void setProcessEventsCallback(ProcessEventCallback callback);
void setCurrentUserName(const std::optional<std::string>& userName);
void setSwitchUserCallback(SwitchUserCallback callback);

// Compares the console user now with the saved one and reports log-on,
// log-off or a fast user switch through the user events callback.
void handleConsoleUserChange(const std::optional<std::string>& consoleUser, IConsoleUserObserver* source);

}  // namespace ConsoleUser

// The console user as the platform reports it (before the login-window rule);
// store is the platform's dynamic-store handle or null.
[[nodiscard]] std::optional<std::string> readConsoleUser(const void* store);

}  // namespace sondrel
