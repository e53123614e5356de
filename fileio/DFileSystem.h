#pragma once

#include "fileio/Export.h"
#include "fileio/File.h"

/// A file behind a descriptor of the operating system, with byte-range locks against other
/// processes. Descriptor 0 counts as not open. Signal handlers of the host's end no operation.
///
/// The locks are POSIX ones: they do not keep out threads of the same process, and closing
/// any other descriptor of the file in this process drops them.
class PANEL_EXPORT DFileSystem : public File
{
public:
    /// Opens @p path with the flags of open(2). When that fails and the flags contain O_CREAT,
    /// it is tried once more with O_TRUNC and mode 0644. ioDev() tells whether it is open.
    DFileSystem(const char* path, int flags);
    /// Takes over a descriptor that was opened with @p flags, to close it; -1 is a file that could
    /// not be opened.
    DFileSystem(int descriptor, int flags);
    ~DFileSystem() override;

    /// The new position, -1 when nothing is open or the position is not valid.
    int seek2(int offset, int whence) override;
    /// Bytes transferred; 0 when nothing is open, -1 when the transfer fails or @p n is negative.
    /// Writing ends early only when the system takes no more.
    int read(void* buf, int n) override;
    int write(const void* buf, int n) override;
    void close() override;
    int offset() const override;
    /// The number of the descriptor, carried in a pointer; 0 when it is negative.
    void* ioDev() const override;

    /// Moves to @p offset and takes an exclusive lock on the @p len bytes from there, waiting until
    /// other processes have let go of them, whatever signals arrive. A descriptor opened for
    /// reading only cannot have such a lock; it gets a shared one, which waits for writers all the
    /// same. 0, or -1 when nothing is open or the move or the lock fails. Mind the order: @p whence
    /// comes first here, second in seek2().
    int lock(int whence, int offset, int len);
    /// The same lock on the @p len bytes from the position on, for callers who have moved there and
    /// must know that they did: lock() returns -1 for either failure.
    int lockHere(int len);
    /// Moves to @p offset and frees the @p len bytes from there. Results as for lock().
    int unlock(int whence, int offset, int len);
    /// Brings the data to the medium. 0 when nothing is open, otherwise the result of fdatasync.
    int sync();

private:
    bool isOpen() const { return m_descriptor > 0; }
    int lockShared(int len) const;

    bool m_readOnly;
    int m_descriptor;
};
