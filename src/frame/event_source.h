#pragma once
// What the frame needs of every family's source to keep it in a slot.

#include <optional>
#include <string>

namespace sondrel {

class IEventSource {
 public:
  virtual ~IEventSource() = default;
  // Returns when the family's callback will not be called again (or at once
  // when called from inside that callback, which then is the last call).
  virtual void stopListening() = 0;
};

// Sources that follow the console user (process events, unresponsiveness).
class IUserFollowingSource : public IEventSource {
 public:
  virtual void onUserSwitched(const std::optional<std::string>& userName) = 0;
};

}  // namespace sondrel
