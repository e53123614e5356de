#pragma once

#include "fileio/Export.h"

/// The channel to the platform's command-line tools: runs one with a pipe on its standard output
/// or input and moves raw bytes. Has no state. Blocks until the tool has ended; nothing that a
/// tool does, or fails to do, ends the process. A negative @p n counts as 0.
class PANEL_EXPORT PlateformInterface
{
public:
    PlateformInterface() = default;

    /// Runs @p command and reads up to @p n bytes of its output into @p buf. buf[0] is cleared
    /// first; what the tool does not deliver keeps its content, and no terminator is added.
    /// Returns 0 however much came, or -1 with a message on standard error when the tool cannot be
    /// started. That is told by a shell that ends with 126 or 127 and no output, for a path that
    /// nobody may run; the file alone tells it where nobody knows how the tool ended (see
    /// ToolPipe::close()). Its exit status is not looked at otherwise.
    int readcmd(const char* command, char* buf, int n);

    /// Runs @p command and writes @p n bytes of @p buf to its input. Returns 0 when the tool could
    /// be started, even if it takes not a byte; -1, with a message on standard error, when it could
    /// not, which is told as for readcmd(), whatever it takes. Its exit status is not looked at
    /// otherwise.
    int writecmd(const char* command, char* buf, int n);
};
