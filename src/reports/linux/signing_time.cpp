// Linux executables carry no code signature: there is no static code object
// to make, so every file stops at that step.

#include "reports/signing_time.h"

namespace sondrel {

SigningTimeReading readSigningTime(const std::string&) { return {SigningTimeStep::staticCodeFailed, 0}; }

}  // namespace sondrel
