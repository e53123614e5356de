#pragma once

#include "tests/soak/Census.h"

#include <QStringList>

/// What a soak has to tell at its end: all that has gone wrong. Empty when nothing has.
namespace Report {

/// What there was more of in the last third than in the second; the first is the warm-up, in which
/// fonts, pictures and the like are loaded. Peaks are compared: what comes and goes with the work
/// is no growth.
QStringList growth(const std::vector<Census>& counts);

/// Starts to collect what Qt warns of. Does not count what the display without a screen cannot do.
void catchWarnings();
QStringList warnings();

} // namespace Report
