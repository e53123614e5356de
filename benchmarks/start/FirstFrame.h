#pragma once

/// What a program tells of itself: until its first frame was painted, and its memory soon after.
struct FirstFrame
{
    double moment;        ///< CLOCK_MONOTONIC, seconds.
    double processorTime; ///< Of the process without its commands, seconds.
    double pss;           ///< Its proportional share of memory once it has settled, kilobytes.
};
