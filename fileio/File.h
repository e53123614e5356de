#pragma once

#include "fileio/Export.h"

/// A file with a fixed set of operations. Nothing here prints or throws; failures are return
/// values. Derived classes add what their kind of handle can do besides.
class PANEL_EXPORT File
{
public:
    File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    /// Moves the position: @p offset in bytes from @p whence (SEEK_SET, SEEK_CUR, SEEK_END).
    /// Returns the new position, or -1.
    virtual int seek2(int offset, int whence) = 0;
    /// Reads up to @p n bytes and returns how many came.
    virtual int read(void* buf, int n) = 0;
    /// Writes @p n bytes and returns how many were taken.
    virtual int write(const void* buf, int n) = 0;
    /// Closes the handle if it is open.
    virtual void close() = 0;
    /// The position in bytes, or -1 when nothing is open.
    virtual int offset() const = 0;
    /// The handle underneath; the derived class says of which kind.
    virtual void* ioDev() const = 0;

    virtual ~File() = default;
};
