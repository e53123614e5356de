#include "panelctl/Help.h"

#include "panelctl/CommandTable.h"
#include "panelctl/Commands.h"
#include "panelctl/RecordFields.h"
#include "panelctl/RegisterValue.h"
#include "panelctl/Terminal.h"
#include "panelctl/Value.h"
#include "regstore/RegisterNames.h"

#include <iomanip>
#include <iostream>
#include <sstream>

namespace {

void printOptions(const Command& command)
{
    for (const OptionRow& row : optionRows) {
        if (command.options.has(row.option)) {
            std::ostringstream option;
            option << "  " << std::left << std::setw(18)
                   << std::string(row.name) + (row.value ? std::string(" ") + row.value : "");
            Terminal::printRow(option.str(), row.help);
        }
    }
}

void printValueOfRegister(const std::string& word)
{
    try {
        const RegisterRow& row = RegisterValue::find(word);
        Terminal::printText(0, "VALUE of " + RegisterValue::label(row.id) + ": " +
                                   Value::fitting(kindOf(row), RegisterValue::byteSize(row)));
    } catch (const UsageError&) {
        return; // no register, so nothing is known of its value
    }
}

void printValueOfField(const std::string& word)
{
    if (const RecordField* field = findField(word)) {
        Terminal::printText(0,
                            "VALUE of " + word + ": " + Value::fitting(field->kind, field->size));
    }
}

void printCommand(const Command& command, const Words& words)
{
    Terminal::printText(0, "usage: " + CommandTable::synopsis(command));
    Terminal::printText(0, command.help);
    printOptions(command);
    const std::size_t first = CommandTable::nameLength(command);
    if (words.size() > first && command.words[1] == WordKind::RegisterValue) {
        printValueOfRegister(words[first]);
    }
    for (std::size_t at = first; at < words.size(); at += 2) {
        if (command.words[1] == WordKind::FieldValue) {
            printValueOfField(words[at]);
        }
    }
}

/// The commands of one group, or of all when @p group is empty.
void printCommands(const std::string& group)
{
    std::cout << "usage: panelctl " << (group.empty() ? "COMMAND" : group) << " ...\n";
    for (const Command& command : CommandTable::all()) {
        if (group.empty() || group == command.group) {
            std::cout << "  " << CommandTable::synopsis(command) << '\n';
            Terminal::printText(6, command.help);
        }
    }
    Terminal::printText(0, "Ends with 0 when it is done, 1 when it failed, 2 when the command line "
                           "is wrong, 3 when nothing had to be done.");
    Terminal::printText(0, "Every command explains itself with --help. Options may stand anywhere; "
                           "after -- everything is a word.");
}

} // namespace

namespace Help {

void print(const Words& words)
{
    if (words.empty()) {
        printCommands("");
    } else if (words.size() == 1 && CommandTable::isGroup(words[0])) {
        printCommands(words[0]);
    } else {
        printCommand(CommandTable::require(words), words);
    }
}

void printVersion()
{
    std::cout << "panelctl " PANEL_VERSION "\n";
}

} // namespace Help

void Commands::help(const Arguments& given)
{
    Help::print(given.words);
}
