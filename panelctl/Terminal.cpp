#include "panelctl/Terminal.h"

#include <iostream>
#include <sstream>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Terminal {

std::size_t width()
{
    constexpr std::size_t usual = 80;
    constexpr std::size_t least = 20; // fewer than these are no answer
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col >= least ? size.ws_col
                                                                                : usual;
}

void printText(std::size_t indent, const std::string& text)
{
    const std::size_t columns = width();
    std::istringstream words(text);
    std::string line;
    for (std::string word; words >> word;) {
        if (!line.empty() && indent + line.size() + 1 + word.size() > columns) {
            std::cout << std::string(indent, ' ') << line << '\n';
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    std::cout << std::string(indent, ' ') << line << '\n';
}

void printRow(const std::string& row, const std::string& explanation)
{
    constexpr std::size_t indent = 6;
    if (explanation.empty()) {
        std::cout << row << '\n';
    } else if (row.size() + 2 + explanation.size() <= width()) {
        std::cout << row << "  " << explanation << '\n';
    } else {
        std::cout << row.substr(0, row.find_last_not_of(' ') + 1) << '\n';
        printText(indent, explanation);
    }
}

} // namespace Terminal
