#pragma once

#include "panelctl/Option.h"

#include <array>
#include <map>
#include <stdexcept>
#include <string>
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

/// The panel is already as it was asked to be: the program ends with status 3.
class Unchanged : public std::runtime_error
{
public:
    Unchanged() : std::runtime_error("nothing changes") {}
};

using Words = std::vector<std::string>;

/// What stands on the command line beside the name of a command.
struct Arguments
{
    Words words;
    std::map<Option, std::string> options; ///< Flags have no value.

    bool has(Option option) const { return options.find(option) != options.end(); }
    /// The value of an option, empty when it was not given.
    std::string value(Option option) const
    {
        const auto at = options.find(option);
        return at == options.end() ? std::string() : at->second;
    }
};

/// What a word after the name of a command is, for the completion and the help.
enum class WordKind {
    None,
    Free, ///< Nothing that can be listed.
    Register,
    RegisterValue, ///< Of the register before it.
    Field,
    FieldValue, ///< Of the field before it.
    Preset,     ///< REGISTER=VALUE
    Adapter,
    Server,
    CommandName,
};

/// One command of the program. A group has commands with a verb, or one without.
struct Command
{
    const char* group = "";
    const char* verb = "";       ///< Empty for a group that is one command.
    const char* parameters = ""; ///< As the help shows them.
    std::size_t leastWords = 0;
    std::size_t mostWords = 0;
    std::array<WordKind, 3> words{}; ///< Repeated, as far as they are not None, up to mostWords.
    OptionSet options;
    const char* help = "";
    void (*run)(const Arguments&) = nullptr; ///< Prints to standard output; throws Failure or
                                             ///< UsageError.
    bool looksAtPanel = true;                ///< False: it tells what is the same on every panel.
};
