// The console-user exports: the switch fan-out and the saved user.

#include <cstdlib>

#include "frame/c_strings.h"
#include "frame/export_guard.h"
#include "session/console_user.h"

using namespace sondrel;

namespace {
std::optional<std::string> optionalText(const char* text) {
  if (text == nullptr) return std::nullopt;
  return utf8OrEmpty(text);
}
char* copyForCaller(const std::optional<std::string>& text) {
  return text ? CommonUtils::makeCString(*text) : nullptr;
}
}  // namespace

extern "C" {

SONDREL_EXPORT void userSwitched(const char* userName) {
  guardExport("userSwitched", [&] { ConsoleUser::userSwitched(optionalText(userName)); });
}

SONDREL_EXPORT char* copyCurrentConsoleUsername(const void* store) {
  return guardQuery<char*>("copyCurrentConsoleUsername", nullptr, [&] {
    return copyForCaller(ConsoleUser::normalizeConsoleUser(readConsoleUser(store)));
  });
}

SONDREL_EXPORT void currentUserChangedCallback(const void* store, const void*, void* info) {
  guardExport("currentUserChangedCallback", [&] {
    auto consoleUser = ConsoleUser::normalizeConsoleUser(readConsoleUser(store));
    ConsoleUser::handleConsoleUserChange(consoleUser, static_cast<IConsoleUserObserver*>(info));
  });
}

SONDREL_EXPORT void setSavedUserName(const char* userName) {
  guardExport("setSavedUserName", [&] { ConsoleUser::setSavedUserName(optionalText(userName)); });
}

SONDREL_EXPORT char* getRetainedSavedUserName(void) {
  return guardQuery<char*>("getRetainedSavedUserName", nullptr, [&] { return copyForCaller(ConsoleUser::savedUser()); });
}

SONDREL_EXPORT UserEventCallback getUserEventsCallback(void) {
  return guardQuery<UserEventCallback>("getUserEventsCallback", nullptr,
                                       [&] { return ConsoleUser::getUserEventsCallback(); });
}

}  // extern "C"
