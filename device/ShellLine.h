#pragma once

#include <cstddef>

/// The one way in which a command line is made and run. Lines are formatted into a zero-filled
/// buffer of 128 bytes. One that does not fit is not run, as half a command is worse than none.
namespace ShellLine {

inline constexpr std::size_t bufferBytes = 128; ///< Including the terminating zero.

/// Formats as printf does into @p line. False, with a message on standard error, when the result
/// does not fit; @p line is then empty.
bool format(char (&line)[bufferBytes], const char* pattern, ...)
    __attribute__((format(printf, 2, 3)));

/// Formats a line and runs it with system(), waiting for its end. Returns the status of system(),
/// or -1 without running anything when the line does not fit.
int run(const char* pattern, ...) __attribute__((format(printf, 1, 2)));

/// Formats a line, runs it and then runs "sync", whatever the line came to. Returns the status of
/// "sync", or -1 without running anything when the line does not fit.
int runAndSync(const char* pattern, ...) __attribute__((format(printf, 1, 2)));

} // namespace ShellLine
