// complete.

#include "adapters/AdapterTable.h"
#include "panelctl/CommandLine.h"
#include "panelctl/CommandTable.h"
#include "panelctl/Commands.h"
#include "panelctl/RecordFields.h"
#include "panelctl/RegisterValue.h"
#include "panelctl/ResolverLines.h"
#include "panelctl/Value.h"
#include "regstore/RegisterNames.h"

#include <algorithm>
#include <iostream>
#include <set>

namespace {

void printEach(const Words& words)
{
    for (const std::string& word : words) {
        std::cout << word << '\n';
    }
}

void printNames(const char* suffix)
{
    for (const RegisterName& name : registerNames) {
        std::cout << name.name << suffix << '\n';
    }
}

void printAdapters()
{
    for (const AdapterRow& adapter : adapterTable) {
        std::cout << adapter.interfaceName << '\n';
    }
}

void printFields()
{
    for (const RecordField& field : recordFields) {
        if (field.kind != Kind::Reserved) {
            std::cout << field.name << '\n';
        }
    }
}

void printWordsOfField(const std::string& name)
{
    if (const RecordField* field = findField(name)) {
        printEach(Value::words(field->kind));
    }
}

/// The verbs of a group, or all groups when there is none yet.
void printCommandNames(const Words& words)
{
    std::set<std::string> names;
    for (const Command& command : CommandTable::all()) {
        if (words.empty()) {
            names.insert(command.group);
        } else if (words[0] == command.group) {
            names.insert(command.verb);
        }
    }
    names.erase(std::string());
    printEach({names.begin(), names.end()});
}

/// What the next word of a command may be; @p words are those that it has.
void printWord(const Command& command, const Words& words)
{
    const auto count =
        std::size_t(std::count_if(command.words.begin(), command.words.end(),
                                  [](WordKind word) { return word != WordKind::None; }));
    if (count == 0 || words.size() >= command.mostWords) {
        return;
    }
    switch (command.words.at(words.size() % count)) {
    case WordKind::Register:
        return printNames("");
    case WordKind::Preset:
        return printNames("=");
    case WordKind::RegisterValue:
        return printEach(Value::words(kindOf(RegisterValue::find(words.back()))));
    case WordKind::Field:
        return printFields();
    case WordKind::FieldValue:
        return printWordsOfField(words.back());
    case WordKind::Adapter:
        return printAdapters();
    case WordKind::Server:
        return printEach({ResolverLines::serverWords.begin(), ResolverLines::serverWords.end()});
    case WordKind::CommandName:
        return printCommandNames(words);
    case WordKind::None:
    case WordKind::Free:
        return;
    }
}

void printOptions(const Command& command)
{
    for (const OptionRow& row : optionRows) {
        if (command.options.has(row.option)) {
            std::cout << row.name << '\n';
        }
    }
}

} // namespace

void Commands::complete(const Arguments& given)
{
    const Words words = CommandLine::parse(given.words).words;
    const Command* command = CommandTable::find(words);
    if (!command) {
        printCommandNames(words);
        return;
    }
    const auto first = words.begin() + std::ptrdiff_t(CommandTable::nameLength(*command));
    printWord(*command, {first, words.end()});
    printOptions(*command);
}
