#include "device/BootLogo.h"

#include "device/ToolPipe.h"
#include "fileio/Uninterrupted.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace {

constexpr off64_t largestBytes = 0x600000; // 6 MiB
constexpr std::size_t chunkBytes = 254;
constexpr mode_t fileMode = 0666; // less the umask, as fopen() makes a file

/// An open file, closed at its end.
class LogoFile
{
public:
    LogoFile(const std::string& path, int flags)
        : m_descriptor(Uninterrupted::open(path.c_str(), flags, fileMode))
    {
    }
    ~LogoFile()
    {
        if (isOpen()) {
            ::close(m_descriptor);
        }
    }
    LogoFile(const LogoFile&) = delete;
    LogoFile& operator=(const LogoFile&) = delete;

    bool isOpen() const { return m_descriptor >= 0; }
    int descriptor() const { return m_descriptor; }

private:
    int m_descriptor;
};

/// Length of a file in bytes, -1 when it has none, like a pipe. Leaves the position at the start.
off64_t lengthOf(int descriptor)
{
    const off64_t length = lseek64(descriptor, 0, SEEK_END);
    return lseek64(descriptor, 0, SEEK_SET) == 0 ? length : -1;
}

/// Null, with the message.
std::unique_ptr<char[]> refuse()
{
    std::printf("pic size is out of 6M");
    std::fflush(stdout);
    return nullptr;
}

/// The whole of a logo file, or nothing (with the message) when it is too large or unreadable.
std::unique_ptr<char[]> load(const std::string& path, std::size_t& size)
{
    const LogoFile file(path, O_RDONLY | O_NONBLOCK); // a pipe without a writer is not waited for
    const off64_t length = file.isOpen() ? lengthOf(file.descriptor()) : -1;
    if (length < 0 || length > largestBytes) {
        return refuse();
    }
    size = static_cast<std::size_t>(length);
    if (size == 0) {
        return nullptr;
    }
    auto content = std::make_unique<char[]>(size);
    return Uninterrupted::readAll(file.descriptor(), content.get(), size) == size
               ? std::move(content)
               : refuse();
}

void copy(ToolPipe& tool, const LogoFile& file)
{
    if (lengthOf(tool.descriptor()) <= 0) {
        return;
    }
    std::array<char, chunkBytes> chunk{};
    std::size_t count = 0;
    while ((count = tool.read(chunk.data(), chunk.size())) > 0) {
        (void)Uninterrupted::write(file.descriptor(), chunk.data(), count);
        std::printf("------------write------fp2");
    }
}

} // namespace

namespace BootLogo {

void read(const std::string& path)
{
    ToolPipe tool("/root/plat-intf/readlogo", ToolPipe::Direction::fromTool);
    if (!tool.isOpen()) {
        std::perror("readLogo Fail to popen fp1\n");
    }
    const LogoFile file(path, O_WRONLY | O_CREAT | O_TRUNC);
    if (!file.isOpen()) {
        std::perror("readLogo Fail to popen fp2\n");
    }
    if (!tool.isOpen() || !file.isOpen()) {
        return;
    }
    std::printf("------start------");
    copy(tool, file);
    std::fflush(stdout);
}

void write(const std::string& path)
{
    ToolPipe tool("/root/plat-intf/writelogo", ToolPipe::Direction::toTool);
    if (!tool.isOpen()) {
        std::perror("writelogo Fail to popen fp1\n");
        return;
    }
    std::size_t size = 0;
    const auto logo = path.empty() ? nullptr : load(path, size);
    if (logo) {
        tool.write(logo.get(), size);
        sync();
    }
}

} // namespace BootLogo
