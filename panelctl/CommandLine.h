#pragma once

#include "panelctl/Command.h"

/// A command line taken apart.
struct CommandLine
{
    Words words; ///< All words that are no options.
    std::map<Option, std::string> options;
    bool wantsHelp = false;
    bool wantsVersion = false;

    /// Options may stand anywhere, as "--image FILE" or "--image=FILE", until "--", after which
    /// everything is a word. A single "-" is a word as well. Throws UsageError for an option that
    /// no command has, one without its value, and one that is given twice.
    static CommandLine parse(const Words& line);
};
