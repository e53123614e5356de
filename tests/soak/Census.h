#pragma once

#include <QString>

#include <vector>

/// What a process has in use, counted from outside of the code that uses it.
struct Census
{
    long heap;        ///< Bytes allocated.
    long resident;    ///< Bytes of memory that the kernel has given.
    long descriptors; ///< Open ones.
    long processes;   ///< In the whole panel.
    long objects;     ///< QObjects, with timers and translators.
    long widgets;
    long windows; ///< Widgets without a parent.
};

/// Counts, once commands in the background have ended, or do not end within seconds. Deferred
/// deletions and what a cache may keep or not are done away with first.
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
