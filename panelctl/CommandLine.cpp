#include "panelctl/CommandLine.h"

#include "panelctl/CommandTable.h"

#include <algorithm>

namespace {

const OptionRow* findOption(const std::string& name)
{
    const auto* at = std::find_if(optionRows.begin(), optionRows.end(),
                                  [&](const OptionRow& row) { return name == row.name; });
    return at == optionRows.end() ? nullptr : at;
}

/// The command that the words so far name, for messages.
std::string whose(const Words& words)
{
    const Command* command = CommandTable::find(words);
    return command ? "'" + CommandTable::nameOf(*command) + "'" : std::string("panelctl");
}

/// What an option got: behind its "=", or the next word, which @p at then counts.
std::string valueOf(const OptionRow& row, const Words& line, std::size_t& at)
{
    const std::size_t equals = line[at].find('=');
    if (!row.value) {
        if (equals != std::string::npos) {
            throw UsageError("'" + line[at] + "': " + row.name + " takes no value");
        }
        return {};
    }
    std::string value;
    if (equals != std::string::npos) {
        value = line[at].substr(equals + 1);
    } else if (at + 1 < line.size()) {
        value = line[++at];
    }
    // An empty value is a variable of the caller's without content, and not a file or folder.
    if (value.empty()) {
        throw UsageError(std::string("'") + row.name + "' needs a value: " + row.value);
    }
    return value;
}

void takeOption(const Words& line, std::size_t& at, CommandLine& parsed)
{
    const std::string& word = line[at];
    if (word == "--help" || word == "-h") {
        parsed.wantsHelp = true;
        return;
    }
    if (word == "--version") {
        parsed.wantsVersion = true;
        return;
    }
    const OptionRow* row = findOption(word.substr(0, word.find('=')));
    if (!row) {
        throw UsageError(whose(parsed.words) + " has no option '" + word + "'");
    }
    if (!parsed.options.emplace(row->option, valueOf(*row, line, at)).second) {
        throw UsageError(std::string("'") + row->name + "' is given twice");
    }
}

} // namespace

CommandLine CommandLine::parse(const Words& line)
{
    CommandLine parsed;
    bool onlyWords = false;
    for (std::size_t at = 0; at < line.size(); ++at) {
        if (onlyWords || line[at].size() < 2 || line[at][0] != '-') {
            parsed.words.push_back(line[at]);
        } else if (line[at] == "--") {
            onlyWords = true;
        } else {
            takeOption(line, at, parsed);
        }
    }
    return parsed;
}
