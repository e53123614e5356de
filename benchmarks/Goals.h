#pragma once

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

/// The goals in a table of docs/performance.md: each row ends with one.
class Goals
{
public:
    /// @param head how the table's first line begins
    Goals(const std::string& document, const std::string& head)
    {
        std::ifstream file(document);
        const std::string text((std::istreambuf_iterator<char>(file)), {});
        const std::size_t begin = text.find(head);
        if (begin == std::string::npos) {
            fail("no table", document + ": " + head);
        }
        m_table = text.substr(begin, text.find("\n\n", begin) - begin) + '\n';
    }

    double of(const std::string& row) const
    {
        const std::size_t begin = m_table.find("\n| " + row + " |");
        if (begin == std::string::npos) {
            fail("no row", row);
        }
        const std::size_t end = m_table.find(" |\n", begin + 1);
        const std::size_t cell = m_table.rfind("| ", end) + 2;
        const double goal = std::strtod(m_table.c_str() + cell, nullptr);
        if (goal <= 0) {
            fail("no goal", row);
        }
        return goal;
    }

private:
    [[noreturn]] static void fail(const char* what, const std::string& where)
    {
        std::fprintf(stderr, "goals: %s: %s\n", what, where.c_str());
        std::_Exit(2);
    }

    std::string m_table;
};
