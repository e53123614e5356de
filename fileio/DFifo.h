#pragma once

#include "fileio/Export.h"

/// One end of a named pipe, which is made when it is missing.
class PANEL_EXPORT DFifo
{
public:
    /// Opens @p path with the flags of open(2). A missing pipe is made with mode 0777 (less the
    /// umask) and opened again. Failures are printed to standard error, "open fifo" or "mkfifo"
    /// with the system's text, and leave nothing open. Without O_NONBLOCK it waits for the
    /// other end.
    DFifo(const char* path, int flags);
    ~DFifo();
    DFifo(const DFifo&) = delete;
    DFifo& operator=(const DFifo&) = delete;

    /// Bytes transferred; -1 when nothing is open, the transfer fails or @p n is negative. Writing
    /// to a pipe whose readers have gone fails like any other write: no SIGPIPE reaches the
    /// process. Waiting goes on when a signal handler of the host's has run.
    int read(void* buf, int n);
    int write(const void* buf, int n);

private:
    int m_descriptor;
};
