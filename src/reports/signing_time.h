#pragma once
// Signing time of a code file. The platform part only asks the OS and says
// which step failed; the messages and the fallback to 0 are shared.

#include <cstdint>
#include <string>

namespace sondrel {

enum class SigningTimeStep { found, staticCodeFailed, signingInformationFailed, timestampMissing, timestampInvalid };

struct SigningTimeReading {
  SigningTimeStep step = SigningTimeStep::staticCodeFailed;
  // Since 1970, as the OS gave it: whether it is finite and fits the count is
  // checked by retrieveTimeStamp. Meaningful only when step is found.
  double seconds = 0;
};

// Implemented per platform: the code signature of the file at path.
[[nodiscard]] SigningTimeReading readSigningTime(const std::string& path);

// Signing time in whole seconds since 1970, or 0 (with the failing step logged).
[[nodiscard]] uint64_t retrieveTimeStamp(const std::string& path);

}  // namespace sondrel
