#include "device/ToolPipe.h"

#include "fileio/SigPipeGuard.h"
#include "fileio/StandardDescriptors.h"
#include "fileio/Uninterrupted.h"

namespace {

std::FILE* start(const char* command, ToolPipe::Direction direction)
{
    const StandardDescriptors standard;
    const char* const mode = direction == ToolPipe::Direction::fromTool ? "r" : "w";
    return popen(command, mode);
}

} // namespace

ToolPipe::ToolPipe(const char* command, Direction direction) : m_pipe(start(command, direction)) {}

ToolPipe::~ToolPipe()
{
    close();
}

int ToolPipe::descriptor() const
{
    return m_pipe ? fileno(m_pipe) : -1;
}

std::size_t ToolPipe::read(void* buffer, std::size_t size)
{
    return Uninterrupted::readAll(descriptor(), buffer, size);
}

std::size_t ToolPipe::write(const void* buffer, std::size_t size)
{
    const SigPipeGuard guard; // only here: a command started under it would inherit it
    const ssize_t count = Uninterrupted::write(descriptor(), buffer, size);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

int ToolPipe::close()
{
    if (!m_pipe) {
        return -1;
    }
    std::FILE* const pipe = m_pipe;
    m_pipe = nullptr;
    return pclose(pipe); // which goes on waiting when a signal comes
}
