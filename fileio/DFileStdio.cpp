#include "fileio/DFileStdio.h"

#include "fileio/StandardDescriptors.h"

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace {

constexpr int copyChunkBytes = 0x40000;

/// Pipes and terminals, unlike files on a medium, are interrupted by signals. The buffer of a
/// stream loses what it holds when that happens, so for them there is none.
void unbufferSlow(std::FILE* stream)
{
    struct stat info = {};
    if (fstat(fileno(stream), &info) != 0 || !S_ISREG(info.st_mode)) {
        (void)std::setvbuf(stream, nullptr, _IONBF, 0);
    }
}

/// Commands run while the stream is open do not inherit it.
std::FILE* openStream(const char* path, const char* mode)
{
    const StandardDescriptors standard;
    std::FILE* stream = fopen64(path, mode);
    while (!stream && errno == EINTR) {
        stream = fopen64(path, mode);
    }
    if (stream) {
        (void)fcntl(fileno(stream), F_SETFD, FD_CLOEXEC);
        unbufferSlow(stream);
    }
    return stream;
}

/// Moves @p n bytes by @p transfer, which is given the number of those moved and moves some more.
/// When a signal interrupts the stream, it goes on where it was.
template <typename Transfer>
int transferAll(std::FILE* stream, int n, Transfer transfer)
{
    int done = 0;
    bool interrupted = true;
    while (done < n && interrupted) {
        errno = 0; // an earlier interruption is not this one
        done += static_cast<int>(transfer(done, static_cast<size_t>(n - done)));
        interrupted = done < n && std::ferror(stream) != 0 && errno == EINTR;
        if (interrupted) {
            std::clearerr(stream);
        }
    }
    return done;
}

} // namespace

DFileStdio::DFileStdio(const char* path, const char* mode) : m_stream(openStream(path, mode)) {}

DFileStdio::~DFileStdio()
{
    DFileStdio::close();
}

bool DFileStdio::open(const char* path, const char* mode)
{
    close();
    m_stream = openStream(path, mode);
    return m_stream != nullptr;
}

int DFileStdio::seek2(int offset, int whence)
{
    if (!m_stream) {
        return -1;
    }
    (void)std::fseek(m_stream, offset, whence);
    return this->offset();
}

int DFileStdio::read(void* buf, int n)
{
    if (!m_stream) {
        return 0;
    }
    return transferAll(m_stream, n, [&](int done, size_t count) {
        return std::fread(static_cast<char*>(buf) + done, 1, count, m_stream);
    });
}

int DFileStdio::write(const void* buf, int n)
{
    if (!m_stream) {
        return 0;
    }
    return transferAll(m_stream, n, [&](int done, size_t count) {
        return std::fwrite(static_cast<const char*>(buf) + done, 1, count, m_stream);
    });
}

void DFileStdio::close()
{
    if (m_stream) {
        std::fclose(m_stream);
        m_stream = nullptr;
    }
}

int DFileStdio::offset() const
{
    return m_stream ? static_cast<int>(std::ftell(m_stream)) : -1;
}

void* DFileStdio::ioDev() const
{
    return m_stream;
}

void DFileStdio::lock()
{
    if (m_stream) {
        flockfile(m_stream);
    }
}

void DFileStdio::unlock()
{
    if (m_stream) {
        funlockfile(m_stream);
    }
}

bool DFileStdio::copy2(const char* dest)
{
    DFileStdio target(dest, "wb");
    const auto chunk = std::make_unique<char[]>(copyChunkBytes);
    for (;;) {
        const int count = read(chunk.get(), copyChunkBytes);
        if (target.write(chunk.get(), count) < count) {
            return false;
        }
        if (count < copyChunkBytes) {
            return true;
        }
    }
}
