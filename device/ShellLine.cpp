#include "device/ShellLine.h"

#include "fileio/StandardDescriptors.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

__attribute__((format(printf, 2, 0))) bool formatList(char (&line)[ShellLine::bufferBytes],
                                                      const char* pattern, va_list arguments)
{
    std::memset(line, 0, sizeof line);
    const int length = std::vsnprintf(line, sizeof line, pattern, arguments);
    if (length >= 0 && static_cast<std::size_t>(length) < sizeof line) {
        return true;
    }
    std::fprintf(stderr, "command line longer than %zu bytes, not run: %s...\n", sizeof line - 1,
                 line);
    line[0] = '\0';
    return false;
}

int runLine(const char* line)
{
    const StandardDescriptors standard; // the command inherits them
    return std::system(line);
}

} // namespace

namespace ShellLine {

bool format(char (&line)[bufferBytes], const char* pattern, ...)
{
    va_list arguments;
    va_start(arguments, pattern);
    const bool fits = formatList(line, pattern, arguments);
    va_end(arguments);
    return fits;
}

int run(const char* pattern, ...)
{
    char line[bufferBytes];
    va_list arguments;
    va_start(arguments, pattern);
    const bool fits = formatList(line, pattern, arguments);
    va_end(arguments);
    return fits ? runLine(line) : -1;
}

int runAndSync(const char* pattern, ...)
{
    char line[bufferBytes];
    va_list arguments;
    va_start(arguments, pattern);
    const bool fits = formatList(line, pattern, arguments);
    va_end(arguments);
    if (!fits) {
        return -1;
    }
    // Its status says nothing about whether it ran: a host that ignores its children gets -1.
    (void)runLine(line);
    return runLine("sync");
}

} // namespace ShellLine
