#include "panelctl/CommandTable.h"

#include "panelctl/Commands.h"

#include <algorithm>

namespace CommandTable {

// NOLINTNEXTLINE(readability-function-size): a table
const std::vector<Command>& all()
{
    static const std::vector<Command> commands{
        {"reg",
         "list",
         "[--json]",
         0,
         0,
         {},
         {Option::Json},
         "Lists the registers: id, name, area, file, offset, size.",
         Commands::regList,
         false},
        {"reg",
         "read",
         "ID [--json]",
         1,
         1,
         {WordKind::Register},
         {Option::Json},
         "Prints what a register holds. ID is its number or its name.",
         Commands::regRead},
        {"reg",
         "write",
         "ID VALUE [--notify]",
         2,
         2,
         {WordKind::Register, WordKind::RegisterValue},
         {Option::Notify},
         "Writes a whole register. After an ID, --help says what VALUE may be.",
         Commands::regWrite},
        {"reg",
         "watch",
         "[--json]",
         0,
         0,
         {},
         {Option::Json},
         "Prints notices as they come, until SIGINT or SIGTERM. A notice has one reader: while "
         "this runs, the runtime misses some.",
         Commands::regWatch},
        {"device",
         "show",
         "[--image FILE] [--json]",
         0,
         0,
         {},
         {Option::Image, Option::Json},
         "Prints the records of the device.",
         Commands::deviceShow},
        {"device",
         "set",
         "[--image FILE] FIELD VALUE...",
         2,
         64,
         {WordKind::Field, WordKind::FieldValue},
         {Option::Image},
         "Changes fields, all of them or none. Everything else stays as it is. What describes "
         "the hardware can be changed in a file only. After a FIELD, --help says what VALUE may "
         "be.",
         Commands::deviceSet},
        {"device",
         "dump",
         "[--image FILE] [--json]",
         0,
         0,
         {},
         {Option::Image, Option::Json},
         "Prints the bytes of the device image with their offsets.",
         Commands::deviceDump},
        {"device",
         "check",
         "[--image FILE] [--json]",
         0,
         0,
         {},
         {Option::Image, Option::Json},
         "Tells what is wrong in the device image, and ends with 1 when something is.",
         Commands::deviceCheck},
        {"device",
         "fields",
         "[--json]",
         0,
         0,
         {},
         {Option::Json},
         "Lists the fields of the records.",
         Commands::deviceFields,
         false},
        {"device",
         "create",
         "--image FILE [FIELD VALUE...]",
         0,
         64,
         {WordKind::Field, WordKind::FieldValue},
         {Option::Image},
         "Makes a new image in a file, all zeros but for the values given. An existing one stays "
         "as it is.",
         Commands::deviceCreate},
        {"dns",
         "show",
         "[--json]",
         0,
         0,
         {},
         {Option::Json},
         "Prints the DNS servers of both adapters.",
         Commands::dnsShow},
        {"dns",
         "set",
         "ADAPTER first|backup ADDRESS",
         3,
         3,
         {WordKind::Adapter, WordKind::Server, WordKind::Free},
         {},
         "Sets a DNS server of eth0 or eth1. Lines of others stay as they are; empty lines go.",
         Commands::dnsSet},
        {"dns",
         "clear",
         "ADAPTER",
         1,
         1,
         {WordKind::Adapter},
         {},
         "Removes the DNS servers of eth0 or eth1.",
         Commands::dnsClear},
        {"areas",
         "create",
         "[--root DIR] [--stored] [--json] [REGISTER=VALUE...]",
         0,
         90,
         {WordKind::Preset},
         {Option::Root, Option::Stored, Option::Json},
         "Makes the register areas and notice pipes of a new device. What is there stays as it "
         "is; the values go into files that are made new.",
         Commands::areasCreate},
        {"areas",
         "check",
         "[--root DIR] [--stored] [--json]",
         0,
         0,
         {},
         {Option::Root, Option::Stored, Option::Json},
         "Tells which register areas and notice pipes are missing or are not what areas create "
         "makes, a file of another length among them, and ends with 1 when one is.",
         Commands::areasCheck},
        {"export",
         "",
         "[--identity]",
         0,
         0,
         {},
         {Option::Identity},
         "Prints all settings of the panel as JSON, to be kept or imported into another panel. "
         "What belongs to this device alone is left out unless it is asked for.",
         Commands::exportSettings},
        {"import",
         "",
         "[OPTION...] FILE|-",
         1,
         1,
         {WordKind::Free},
         {Option::DryRun, Option::Only, Option::Identity, Option::Now, Option::Confirm,
          Option::Json},
         "Takes over settings that export has printed, all of them or none, and prints each "
         "change. Settings that the file does not have stay. Says every error of the file at once. "
         "Ends with 3 when nothing changes.",
         Commands::importSettings},
        {"confirm",
         "",
         "",
         0,
         0,
         {},
         {},
         "Keeps what was imported with --confirm. Fails when nothing waits for it, also because it "
         "came too late.",
         Commands::confirm},
        {"recover",
         "",
         "",
         0,
         0,
         {},
         {},
         "Takes an import back that was cut off or not confirmed in time, as every other command "
         "does first, too, and removes what a killed command left behind. For the panel's start. "
         "Ends with 3 when there was no import to take back.",
         Commands::recover},
        {"tables",
         "",
         "[--json]",
         0,
         0,
         {},
         {Option::Json},
         "Prints where everything is: records, fields, areas, registers, adapters, languages, "
         "settings.",
         Commands::tables,
         false},
        {"complete",
         "",
         "[WORD...]",
         0,
         64,
         {WordKind::CommandName},
         {},
         "Prints what may follow the words, for a shell that completes command lines.",
         Commands::complete,
         false},
        {"help",
         "",
         "[COMMAND...]",
         0,
         2,
         {WordKind::CommandName},
         {},
         "Explains a command, or lists all of them.",
         Commands::help,
         false},
    };
    return commands;
}

std::string nameOf(const Command& command)
{
    return std::string(command.group) + (*command.verb ? " " : "") + command.verb;
}

std::string synopsis(const Command& command)
{
    return "panelctl " + nameOf(command) + (*command.parameters ? " " : "") + command.parameters;
}

bool isGroup(const std::string& word)
{
    return std::any_of(all().begin(), all().end(), [&](const Command& command) {
        return word == command.group && *command.verb;
    });
}

std::size_t nameLength(const Command& command)
{
    return *command.verb ? 2 : 1;
}

const Command* find(const Words& words)
{
    for (const Command& command : all()) {
        const std::size_t used = nameLength(command);
        if (words.size() >= used && words[0] == command.group &&
            (used == 1 || words[1] == command.verb)) {
            return &command;
        }
    }
    return nullptr;
}

const Command& require(const Words& words)
{
    if (const Command* command = find(words)) {
        return *command;
    }
    if (words.empty()) {
        throw UsageError("no command given; see panelctl --help");
    }
    if (!isGroup(words[0])) {
        throw UsageError("unknown command '" + words[0] + "'; see panelctl --help");
    }
    const std::string seen = words.size() > 1
                                 ? "unknown command '" + words[0] + " " + words[1] + "'"
                                 : "'" + words[0] + "' needs a command";
    throw UsageError(seen + "; see panelctl " + words[0] + " --help");
}

} // namespace CommandTable
