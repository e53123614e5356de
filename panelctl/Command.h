#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// The operation was understood and failed: the program ends with status 1.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The command line makes no sense: the program ends with status 2.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// What stands on the command line behind the name of a command.
struct Arguments
{
    std::vector<std::string> words;
    std::map<std::string, std::string, std::less<>> options; ///< With "--"; flags have no value.

    bool has(std::string_view option) const { return options.find(option) != options.end(); }
    /// The value of an option, empty when it was not given.
    std::string value(std::string_view option) const
    {
        const auto at = options.find(option);
        return at == options.end() ? std::string() : at->second;
    }
};

/// One command of the program. A group has commands with a verb, or one without.
struct Command
{
    const char* group;
    const char* verb;       ///< Empty for a group that is one command.
    const char* parameters; ///< As the help shows them.
    std::size_t leastWords;
    std::size_t mostWords;
    const char* options; ///< Those it takes, each between blanks.
    const char* help;
    void (*run)(const Arguments&); ///< Prints to standard output; throws Failure or UsageError.
};
