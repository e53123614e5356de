#pragma once

#include <cstddef>
#include <cstdio>

/// A command with a pipe on its standard output or input: the one place in which one is started and
/// waited for.
///
/// Nothing that the command or the host does ends a transfer early: signals of the host's do not
/// interrupt it (see Uninterrupted), and a command that ends without reading leaves no SIGPIPE. The
/// bytes do not pass the stream's buffer, which would lose some at an interruption. Where the host
/// has closed standard descriptors, the command finds /dev/null there.
class ToolPipe
{
public:
    enum class Direction { fromTool, toTool };

    /// Starts @p command in a shell. isOpen() tells whether there is a shell; errno why not.
    ToolPipe(const char* command, Direction direction);
    /// Closes the pipe and waits for the command, as close() does.
    ~ToolPipe();
    ToolPipe(const ToolPipe&) = delete;
    ToolPipe& operator=(const ToolPipe&) = delete;

    bool isOpen() const { return m_pipe != nullptr; }
    /// Our end of the pipe.
    int descriptor() const;

    /// Reads until there are @p size bytes, the command closes its end or reading fails. How many
    /// bytes came.
    std::size_t read(void* buffer, std::size_t size);
    /// Writes until the command has all, reads no more or writing fails. How many bytes the pipe
    /// took.
    std::size_t write(const void* buffer, std::size_t size);

    /// Closes the pipe and waits for the command. Its status as waitpid() gives it. -1, with ECHILD
    /// in errno, when nobody knows it any more: the host ignores SIGCHLD, or a handler of its own
    /// has waited for every child.
    int close();

private:
    std::FILE* m_pipe;
};
