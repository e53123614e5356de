#pragma once

#include "panelctl/Command.h"

/// The commands of the program.
namespace CommandTable {

const std::vector<Command>& all();

/// The name of a command: "reg list".
std::string nameOf(const Command& command);

/// The usage of a command: "panelctl reg list [--json]".
std::string synopsis(const Command& command);

/// Whether @p word is a group whose commands have verbs.
bool isGroup(const std::string& word);

/// The command that @p words begin with, null when there is none.
const Command* find(const Words& words);

/// How many words the name of a command has, 1 or 2.
std::size_t nameLength(const Command& command);

/// The command that @p words begin with. Throws UsageError when there is none.
const Command& require(const Words& words);

} // namespace CommandTable
