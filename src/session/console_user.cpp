#include "session/console_user.h"

#include <cstdlib>
#include <cstring>
#include <mutex>

#include "frame/c_strings.h"
#include "frame/logger.h"
#include "frame/slots.h"
#include "frame/users.h"

extern "C" {
SONDREL_EXPORT const char* currentUserName = nullptr;
SONDREL_EXPORT ProcessEventCallback processEventsCallback = nullptr;
SONDREL_EXPORT UserEventCallback userEventsCallback = nullptr;
SONDREL_EXPORT SwitchUserCallback switchUserCallback = nullptr;
SONDREL_EXPORT const char* savedUserName = nullptr;
}

namespace sondrel::ConsoleUser {

namespace {

// Leaked: the globals they guard live for the life of the process.
std::mutex& callbackMutex() {
  static auto* mutex = new std::mutex();
  return *mutex;
}
std::mutex& userNameMutex() {
  static auto* mutex = new std::mutex();
  return *mutex;
}
std::mutex& switchMutex() {
  static auto* mutex = new std::mutex();
  return *mutex;
}
std::optional<std::string>& lastSwitched() {
  static auto* name = new std::optional<std::string>();
  return *name;
}

// Replaces a library-owned C string global with a copy of name.
void replaceGlobal(const char*& global, const std::optional<std::string>& name) {
  const char* previous = global;
  global = name ? CommonUtils::makeCString(*name) : nullptr;
  std::free(const_cast<char*>(previous));
}

void reportSessionEvent(uint32_t eventType, const std::string& userName) {
  UserEventCallback callback = getUserEventsCallback();
  if (callback == nullptr) return;
  std::string name = userName;
  user_event_t event{};
  event.eventType = eventType;
  const auto account = lookUpUser(userName);
  event.uid = account ? account->uid : 0;
  event.sid = 0;
  event.userName = name.data();
  callback(&event);
}

std::string describe(const std::optional<std::string>& name) { return name.value_or("(null)"); }

}  // namespace

std::optional<std::string> normalizeConsoleUser(std::optional<std::string> name) {
  if (name && *name == "loginwindow") return std::nullopt;
  return name;
}

void userSwitched(const std::optional<std::string>& userName) {
  std::lock_guard lock(switchMutex());
  if (auto process = Slots::processEvents().get()) process->onUserSwitched(userName);
  if (auto unresponsive = Slots::appUnresponsiveEvents().get()) unresponsive->onUserSwitched(userName);
  lastSwitched() = userName;
}

std::optional<std::string> lastSwitchedUser() {
  std::lock_guard lock(switchMutex());
  return lastSwitched();
}

void setSavedUserName(const std::optional<std::string>& userName) {
  std::lock_guard lock(userNameMutex());
  const bool same = (savedUserName == nullptr && !userName) ||
                    (savedUserName != nullptr && userName && *userName == savedUserName);
  if (!same) replaceGlobal(savedUserName, userName);
}

std::optional<std::string> savedUser() {
  std::lock_guard lock(userNameMutex());
  if (savedUserName == nullptr) return std::nullopt;
  return std::string(savedUserName);
}

void setUserEventsCallback(UserEventCallback callback) {
  std::lock_guard lock(callbackMutex());
  userEventsCallback = callback;
}

UserEventCallback getUserEventsCallback() {
  std::lock_guard lock(callbackMutex());
  return userEventsCallback;
}

void setProcessEventsCallback(ProcessEventCallback callback) {
  std::lock_guard lock(callbackMutex());
  processEventsCallback = callback;
}

void setCurrentUserName(const std::optional<std::string>& userName) {
  std::lock_guard lock(userNameMutex());
  replaceGlobal(currentUserName, userName);
}

void setSwitchUserCallback(SwitchUserCallback callback) {
  std::lock_guard lock(callbackMutex());
  switchUserCallback = callback;
}

void handleConsoleUserChange(const std::optional<std::string>& consoleUser, IConsoleUserObserver* source) {
  if (getUserEventsCallback() == nullptr) return;
  const auto newUser = normalizeConsoleUser(consoleUser);
  const auto oldUser = savedUser();
  if (!newUser && !oldUser) {
    Logger::logInfo("CurrentUserChnaged: Still loading ...");
    return;
  }
  if (source != nullptr) source->onUserSwitched(newUser);
  Logger::logInfo("CurrentUserChnaged: Console user Changed from: {} to: {}", describe(oldUser), describe(newUser));
  if (!newUser) {
    Logger::logInfo("CurrentUserChnaged: User logged out.. Prev user {}..", *oldUser);
    setSavedUserName(std::nullopt);
    reportSessionEvent(UE_LOGOUT, *oldUser);
    Logger::logInfo("UE_LOGOUT User={}", *oldUser);
  } else if (!oldUser) {
    Logger::logInfo("CurrentUserChnaged:  User logged in from the login page... New user: {}", *newUser);
    setSavedUserName(newUser);
    reportSessionEvent(UE_LOGON, *newUser);
    Logger::logInfo("UE_LOGON User={}", *newUser);
  } else if (*oldUser != *newUser) {
    Logger::logInfo("CurrentUserChnaged:  Fast user switch... prev user: {} new user: {}", *oldUser, *newUser);
    Logger::logInfo("CurrentUserChnaged:  Fast user switch... old user:  {} anew user: {}", *oldUser, *newUser);
    setSavedUserName(newUser);
    reportSessionEvent(UE_LOGOUT, *oldUser);
    Logger::logInfo("UE_LOGOUT User={}", *oldUser);
    reportSessionEvent(UE_LOGON, *newUser);
    Logger::logInfo("UE_LOGON User={}", *newUser);
  } else {
    Logger::logInfo("CurrentUserChnaged: Call back invoked for the same user: {}", *newUser);
  }
}

}  // namespace sondrel::ConsoleUser
