#include "fuzz/FuzzSupport.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr int bitsPerByte = 8;
constexpr int shellNotFound = 127;
constexpr const char* toolFolder = "/root/plat-intf/";

struct StreamCloser
{
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, StreamCloser>;

/// The installed tool and what became of it.
struct State
{
    ToolStandIn::Tool tool;
    std::vector<std::string> commands;
    std::string input;
    int openPipes = 0;
    int output = -1; ///< The descriptor that its output is read from, -1 without one.
};

State& state()
{
    static State state;
    return state;
}

/// A file in memory in the place of a pipe, with these bytes in it. The product moves bytes on the
/// descriptor, not through the stream.
int fileWith(const std::string& bytes)
{
    const int file = memfd_create("tool", MFD_CLOEXEC);
    expect(file >= 0 && write(file, bytes.data(), bytes.size()) == ssize_t(bytes.size()) &&
               lseek(file, 0, SEEK_SET) == 0,
           "a tool can be stood in for");
    return file;
}

std::string contentOf(int file)
{
    std::string bytes(std::size_t(lseek(file, 0, SEEK_END)), '\0');
    expect(pread(file, bytes.data(), bytes.size(), 0) == ssize_t(bytes.size()),
           "what a tool has taken can be read");
    return bytes;
}

} // namespace

void expect(bool kept, const char* promise)
{
    if (!kept) {
        std::fprintf(stderr, "not kept: %s\n", promise);
        std::abort();
    }
}

Input::Input(const std::uint8_t* data, std::size_t size) : m_at(data), m_end(data + size) {}

std::uint8_t Input::byte()
{
    return isAtEnd() ? std::uint8_t(0) : *m_at++;
}

std::uint32_t Input::number()
{
    std::uint32_t value = 0;
    for (int at = 0; at < 4; ++at) {
        value |= std::uint32_t(byte()) << at * bitsPerByte;
    }
    return value;
}

std::string Input::line()
{
    const std::uint8_t* lineEnd = std::find(m_at, m_end, '\n');
    std::string text(m_at, lineEnd);
    m_at = lineEnd == m_end ? m_end : lineEnd + 1;
    return text;
}

std::string Input::rest()
{
    std::string text(m_at, m_end);
    m_at = m_end;
    return text;
}

void writeFile(const char* path, const std::string& content)
{
    const Stream file(std::fopen(path, "wb"));
    expect(file && std::fwrite(content.data(), 1, content.size(), file.get()) == content.size() &&
               std::fflush(file.get()) == 0,
           "the files of the panel can be written");
}

std::string readFile(const char* path)
{
    std::string content;
    const Stream file(std::fopen(path, "rb"));
    for (int byte = 0; file && (byte = std::fgetc(file.get())) != EOF;) {
        content.push_back(static_cast<char>(byte));
    }
    return content;
}

namespace ToolStandIn {

void install(const Tool& tool)
{
    const int openPipes = state().openPipes;
    state() = State();
    state().tool = tool;
    if (!tool.isThere) { // then the shell itself is what is met
        state().tool.output.clear();
        state().tool.exitCode = shellNotFound;
    }
    state().openPipes = openPipes;
}

const std::vector<std::string>& commands()
{
    return state().commands;
}

const std::string& input()
{
    return state().input;
}

int openPipes()
{
    return state().openPipes;
}

} // namespace ToolStandIn

// The linker puts these in the place of the functions after which they are named.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier, cert-dcl37-c, cert-dcl51-cpp)

std::FILE* __wrap_popen(const char* command, const char* mode)
{
    State& now = state();
    now.commands.emplace_back(command);
    const bool reads = mode[0] == 'r';
    if (reads ? !now.tool.canBeRead : !now.tool.canBeWritten) {
        return nullptr;
    }
    ++now.openPipes;
    const int file = fileWith(reads ? now.tool.output : std::string());
    now.output = reads ? file : -1;
    return fdopen(file, reads ? "r" : "w");
}

int __wrap_pclose(std::FILE* pipe)
{
    State& now = state();
    --now.openPipes;
    const bool takes = fileno(pipe) != now.output && now.tool.isThere;
    now.input += takes ? contentOf(fileno(pipe)) : std::string();
    now.output = -1;
    std::fclose(pipe);
    if (!now.tool.endIsSeen) {
        errno = ECHILD;
        return -1;
    }
    return now.tool.exitCode << bitsPerByte; // as wait() tells it
}

ssize_t __real_read(int descriptor, void* buffer, std::size_t size);

/// What a tool prints comes in pieces.
ssize_t __wrap_read(int descriptor, void* buffer, std::size_t size)
{
    const State& now = state();
    const bool inPieces = descriptor == now.output && now.tool.pieceBytes > 0;
    return __real_read(descriptor, buffer, inPieces ? std::min(size, now.tool.pieceBytes) : size);
}

int __wrap_system(const char* command)
{
    state().commands.emplace_back(command);
    return 0;
}

int __real_access(const char* path, int mode);

/// A tool is a file, no folder, and may be run when it is there.
int __wrap_access(const char* path, int mode)
{
    const std::string name(path);
    if (name.find(toolFolder) != 0) {
        return __real_access(path, mode);
    }
    return state().tool.isThere && name.back() != '/' ? 0 : -1;
}

/// The messages of calls that fail on purpose would hide the fuzzer's own.
void __wrap_perror(const char* /*text*/) {}

// NOLINTEND(bugprone-reserved-identifier, cert-dcl37-c, cert-dcl51-cpp)
}
