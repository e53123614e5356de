#pragma once

#include "fileio/Export.h"
#include "fileio/File.h"

#include <cstdio>

/// A file behind a stream of the C library. It is buffered when it is a regular file.
class PANEL_EXPORT DFileStdio : public File
{
public:
    /// Opens @p path; see open().
    DFileStdio(const char* path, const char* mode);
    ~DFileStdio() override;

    /// Opens @p path with a mode of fopen, closing what was open before. True when there is a
    /// stream.
    bool open(const char* path, const char* mode);

    /// Moves the position; the result of the move is not looked at. Returns offset().
    int seek2(int offset, int whence) override;
    /// Bytes transferred; 0 when nothing is open or @p n is negative. A signal handler of the
    /// host's ends no transfer.
    int read(void* buf, int n) override;
    int write(const void* buf, int n) override;
    void close() override;
    int offset() const override;
    /// The FILE* of the stream, null when nothing is open.
    void* ioDev() const override;

    /// Takes and gives back the stream for this thread. No lock on the file: other processes and
    /// other streams are not held off.
    void lock();
    void unlock();

    /// Copies what lies behind the position into a new file @p dest. False when @p dest takes less
    /// than it is given; a source that is not open gives an empty @p dest and true. Two failures
    /// go unnoticed: a source that breaks off, and the stream's last bytes that @p dest refuses
    /// when it is closed.
    bool copy2(const char* dest);

private:
    std::FILE* m_stream;
};
