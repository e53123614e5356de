#pragma once

/// The channel to the platform's command-line tools: runs one with a pipe on its standard output
/// or input and moves raw bytes. Has no state. Blocks until the tool has ended; nothing that a
/// tool does, or fails to do, ends the process.
class PlateformInterface
{
public:
    PlateformInterface() = default;

    /// Runs @p command and reads up to @p n bytes of its output into @p buf. buf[0] is cleared
    /// first; what the tool does not deliver keeps its content, and no terminator is added.
    /// Returns 0 however much came, or -1 with a message on standard error when the tool cannot be
    /// started. Its exit status is not looked at otherwise.
    int readcmd(const char* command, char* buf, int n);

    /// Runs @p command and writes @p n bytes of @p buf to its input. Returns 0, or -1 when the tool
    /// cannot be started (with a message on standard error), the pipe refuses a byte, or the tool
    /// ends without taking one. Its exit status is not looked at otherwise.
    int writecmd(const char* command, char* buf, int n);
};
