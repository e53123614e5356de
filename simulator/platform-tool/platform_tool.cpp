// Every tool of a panel's platform, by the name it is called: a compiled program, as a panel's own
// are. It works on the same files of the device as the scripts in simulator/tools, which take
// longer and write each call down, and is used where that would be in the way: in the emulated
// panel, and in benchmarks. A name that is none of a platform's tools does nothing.
//
// Status: 0; 1 where the device's file cannot be read or replaced, or what came is no whole image.

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <string>
#include <unistd.h>

namespace {

constexpr std::size_t imageBytes = 1024;

/// All of it, or nothing where a read fails.
std::optional<std::string> contentOf(int file)
{
    std::string content;
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t count = read(file, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return std::nullopt;
        }
        if (count == 0) {
            return content;
        }
        content.append(buffer.data(), std::size_t(count));
    }
}

bool writeAll(int file, const std::string& bytes)
{
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t count = write(file, bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        done += count > 0 ? std::size_t(count) : 0;
    }
    return true;
}

/// Prints a file of the device, and then the ending.
bool print(const char* path, const char* ending = "")
{
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    const auto content = contentOf(file);
    close(file);
    return content && writeAll(STDOUT_FILENO, *content + ending);
}

/// At once: nobody ever sees half of it.
bool replace(const std::string& path, const std::string& bytes)
{
    const std::string draft = path + '.' + std::to_string(getpid());
    const int file = open(draft.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0) {
        return false;
    }
    const bool isWritten = writeAll(file, bytes);
    if (close(file) != 0 || !isWritten || std::rename(draft.c_str(), path.c_str()) != 0) {
        unlink(draft.c_str());
        return false;
    }
    return true;
}

bool append(const char* path, const std::string& bytes)
{
    const int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    return file >= 0 && writeAll(file, bytes) && close(file) == 0;
}

bool takeInput(const char* path)
{
    const auto content = contentOf(STDIN_FILENO);
    return content && replace(path, *content);
}

bool takeImage(const char* path)
{
    const auto content = contentOf(STDIN_FILENO);
    return content && content->size() == imageBytes && replace(path, *content);
}

std::string line(const char* word)
{
    return std::string(word) + '\n';
}

struct Tool
{
    const char* name;
    bool (*run)(const char* argument);
};

constexpr std::array tools = {
    Tool{"readee", [](const char*) { return print("/panel/state/image"); }},
    Tool{"writeee", [](const char*) { return takeImage("/panel/state/image"); }},
    Tool{"getbright", [](const char*) { return print("/panel/state/backlight"); }},
    Tool{"setbright",
         [](const char* level) { return replace("/panel/state/backlight", line(level)); }},
    Tool{"setbeep", [](const char* beep) { return append("/panel/state/beeps", line(beep)); }},
    Tool{"getusbslave", [](const char*) { return print("/panel/state/usbslave", "\n"); }},
    Tool{"setmpi", [](const char*) { return takeInput("/panel/state/mpi"); }},
    Tool{"setserial", [](const char*) { return takeInput("/panel/state/serial"); }},
    Tool{"readlogo", [](const char*) { return print("/panel/state/logo"); }},
    Tool{"writelogo", [](const char*) { return takeInput("/panel/state/logo"); }},
};

} // namespace

int main(int argc, char** argv)
{
    const char* const slash = std::strrchr(argv[0], '/');
    const char* const name = slash ? slash + 1 : argv[0];
    for (const Tool& tool : tools) {
        if (std::strcmp(tool.name, name) == 0) {
            return tool.run(argc > 1 ? argv[1] : "") ? 0 : 1;
        }
    }
    return 0;
}
