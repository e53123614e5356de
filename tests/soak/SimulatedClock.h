#pragma once

#include <chrono>

/// The clock of this program: it stands still until it is told to go on. It takes the place of the
/// system's in every library of the process, so that Qt's timers and the dialog's clock live
/// through an hour tick for tick, however fast the machine is. Other processes keep the real time.
///
/// While it is in use, nothing may wait for time to pass on its own.
namespace SimulatedClock {

/// Lets time pass.
void advance(std::chrono::nanoseconds time);

} // namespace SimulatedClock
