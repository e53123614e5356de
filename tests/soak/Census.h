#pragma once

#include <QString>

#include <vector>

/// What a process has in use, counted from outside of the code that uses it.
struct Census
{
    long heap;        ///< Bytes allocated.
    long resident;    ///< Bytes of memory that the kernel has given.
    long descriptors; ///< That are open.
    long processes;   ///< In the whole panel.
    long objects;     ///< QObjects, with timers and translators.
    long widgets;
    long windows; ///< Widgets without a parent.
};

/// Counts when the commands in the background have ended, or after some seconds when they do not.
/// Carries out deferred deletions and empties caches before.
Census takeCensus();

/// One thing counted, and how many percent more of it there may be later than after the warm-up.
struct Measure
{
    const char* name;
    long Census::*value;
    long percent;
};

/// The table of everything counted.
const std::vector<Measure>& measures();

/// Starts counting QObjects; before the application is made.
void countObjects();
