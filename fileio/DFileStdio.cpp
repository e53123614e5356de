#include "fileio/DFileStdio.h"

#include <fcntl.h>
#include <memory>

namespace {

constexpr int copyChunkBytes = 0x40000;

/// Commands run while the stream is open do not inherit it.
std::FILE* openStream(const char* path, const char* mode)
{
    std::FILE* const stream = fopen64(path, mode);
    if (stream) {
        (void)fcntl(fileno(stream), F_SETFD, FD_CLOEXEC);
    }
    return stream;
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
    if (!m_stream || n <= 0) {
        return 0;
    }
    return static_cast<int>(std::fread(buf, 1, static_cast<size_t>(n), m_stream));
}

int DFileStdio::write(const void* buf, int n)
{
    if (!m_stream || n <= 0) {
        return 0;
    }
    return static_cast<int>(std::fwrite(buf, 1, static_cast<size_t>(n), m_stream));
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
