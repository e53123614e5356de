#pragma once

/// What a program tells of itself when its first frame is painted.
struct FirstFrame
{
    double moment;        ///< CLOCK_MONOTONIC, seconds.
    double processorTime; ///< Of the process without its commands, seconds.
    double pss;           ///< Its proportional share of memory, kilobytes.
};
