#pragma once

#include <QByteArray>
#include <QList>

#include <functional>

/// Bits of a file that an operation may change, counted from the least significant of byte 0.
struct OwnRange
{
    const char* file;
    int firstBit;
    int bits;
};

constexpr int bitsPerByte = 8;

constexpr OwnRange bytesOf(const char* file, int first, int count)
{
    return {file, first * bitsPerByte, count * bitsPerByte};
}

constexpr OwnRange wholeFile(const char* file)
{
    return bytesOf(file, 0, 0x1000000);
}

constexpr OwnRange nothing = {nullptr, 0, 0};

/// What a fault is documented to leave of what an operation moves into its own bits or its memory.
enum Moved {
    unsaid,
    untouched,
    firstHalf, ///< Of the bytes touched; of an odd number the smaller half.
    whole,
};

/// What is documented to come of a fault; see FailingCalls for how faults are written.
struct Outcome
{
    const char* fault = nullptr;
    int result = 0;
    /// What it prints, up to the system's own text. Empty: nothing at all.
    const char* message = "";
    /// What it then changes besides its own, and is documented to.
    OwnRange besides = nothing;
    /// The file whose descriptor it is documented to leave open.
    const char* leavesOpen = nullptr;
    Moved moved = unsaid;
    /// What it prints last. Empty: it may print anything.
    const char* ending = "";
};

/// An operation of a room, called as its users call it.
struct Operation
{
    const char* name;
    std::function<int()> run;
    int result; ///< When nothing fails.
    QList<OwnRange> own;
    /// Every way in which each of its calls can fail, in the order of the calls.
    QList<Outcome> outcomes;
    /// Puts into place what this operation needs besides what every one finds.
    std::function<void()> prepare = {};
    /// Tells what came of an operation that returns nothing.
    std::function<int()> look = {};
    /// What it has filled in memory.
    std::function<QByteArray()> memory = {};
};

/// A file that every operation finds, and one that is not there.
inline constexpr const char* plainFile = "/tmp/plain.dat";
inline constexpr int plainBytes = 64;
inline constexpr const char* newFile = "/tmp/new.dat";

QList<Operation> fileOperations();
QList<Operation> registerOperations();
QList<Operation> deviceOperations();
/// On emulated flash, which a tracer of system calls cannot see.
QList<Operation> flashOperations();
