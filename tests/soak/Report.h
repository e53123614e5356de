#pragma once

#include "tests/soak/Census.h"

#include <QStringList>

/// What a soak has to tell at its end: all that has gone wrong. Empty when nothing has.
namespace Report {

/// Everything of which the last third had more than the second. The first third is the warm-up, in
/// which fonts, pictures and the like are loaded. Peaks are compared: what comes and goes with the
/// work is no growth.
QStringList growth(const std::vector<Census>& counts);

/// Starts to collect what Qt warns of. Does not count what the display without a screen cannot do.
void catchWarnings();
QStringList warnings();

} // namespace Report
