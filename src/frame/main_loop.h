#pragma once
// The thread a host lends the library. Platform files run it: macOS loads
// AppKit and runs the run loop in 30-second slices; Linux waits on the lent
// thread until told to stop.

namespace sondrel {

// Returns only after stopMainLoop (or at once when the platform can't run it).
void runMainLoop();
// Ends a running loop within its current slice; harmless when none runs.
void stopMainLoop();

}  // namespace sondrel
