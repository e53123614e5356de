#include "fuzz/FuzzSupport.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

constexpr int bitsPerByte = 8;

struct StreamCloser
{
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, StreamCloser>;

/// The installed tool and what became of it.
struct State
{
    ToolStandIn::Tool tool;
    std::size_t printed = 0; ///< Bytes of its output that the reader has.
    std::vector<std::string> commands;
    std::string input;
    int openPipes = 0;
};

State& state()
{
    static State state;
    return state;
}

ssize_t print(void* /*cookie*/, char* target, std::size_t wanted)
{
    State& now = state();
    const std::size_t most = now.tool.pieceBytes == 0 ? wanted : now.tool.pieceBytes;
    const std::size_t count = std::min({wanted, most, now.tool.output.size() - now.printed});
    std::copy_n(now.tool.output.data() + now.printed, count, target);
    now.printed += count;
    return static_cast<ssize_t>(count);
}

ssize_t take(void* /*cookie*/, const char* bytes, std::size_t count)
{
    state().input.append(bytes, count);
    return static_cast<ssize_t>(count);
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
    now.printed = 0;
    const cookie_io_functions_t functions = {print, take, nullptr, nullptr};
    return fopencookie(&now, reads ? "r" : "w", functions);
}

int __wrap_pclose(std::FILE* pipe)
{
    --state().openPipes;
    std::fclose(pipe);
    return state().tool.exitCode << bitsPerByte; // as wait() tells it
}

int __wrap_system(const char* command)
{
    state().commands.emplace_back(command);
    return 0;
}

/// The messages of calls that fail on purpose would hide the fuzzer's own.
void __wrap_perror(const char* /*text*/) {}

// NOLINTEND(bugprone-reserved-identifier, cert-dcl37-c, cert-dcl51-cpp)
}
