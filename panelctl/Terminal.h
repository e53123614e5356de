#pragma once

#include <cstddef>
#include <string>

/// Lines for people, who read them in a terminal or, when there is none, in 80 columns.
namespace Terminal {

/// Columns of the terminal on standard output; 80 when that is no terminal.
std::size_t width();

/// Prints @p text between words over as many lines as it takes, each behind @p indent blanks.
void printText(std::size_t indent, const std::string& text);

/// Prints a row of a table with what explains it: on one line where that fits, otherwise below.
void printRow(const std::string& row, const std::string& explanation);

} // namespace Terminal
