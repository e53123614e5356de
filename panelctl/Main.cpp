// panelctl: the registers, the device records, the resolver file and the register areas of a panel,
// from a command line.

#include "panelctl/Commands.h"

#include <algorithm>
#include <array>
#include <iostream>

namespace {

constexpr std::array commands{
    Command{"reg", "list", "[--json]", 0, 0, " --json ",
            "Lists the registers: id, name, area, file, offset, size.", Commands::regList},
    Command{"reg", "read", "ID [--json]", 1, 1, " --json ",
            "Prints what a register holds. ID is its number or its name.", Commands::regRead},
    Command{"reg", "write", "ID VALUE [--notify]", 2, 2, " --notify ",
            "Writes a register, which is all of it.", Commands::regWrite},
    Command{"reg", "watch", "[--json]", 0, 0, " --json ",
            "Prints notices as they come, until SIGINT or SIGTERM. A notice has one reader: while "
            "this runs, the runtime misses some.",
            Commands::regWatch},
    Command{"device", "show", "[--image FILE] [--json]", 0, 0, " --image --json ",
            "Prints the records of the device.", Commands::deviceShow},
    Command{"device", "set", "[--image FILE] FIELD VALUE...", 2, 64, " --image ",
            "Changes fields, all of them or none. Everything else stays as it is. What describes "
            "the hardware can be changed in a file only.",
            Commands::deviceSet},
    Command{"device", "dump", "[--image FILE] [--json]", 0, 0, " --image --json ",
            "Prints the bytes of the device image with their offsets.", Commands::deviceDump},
    Command{"device", "check", "[--image FILE] [--json]", 0, 0, " --image --json ",
            "Tells what is wrong in the device image, and ends with 1 when something is.",
            Commands::deviceCheck},
    Command{"device", "fields", "[--json]", 0, 0, " --json ", "Lists the fields of the records.",
            Commands::deviceFields},
    Command{"device", "create", "--image FILE [FIELD VALUE...]", 0, 64, " --image ",
            "Makes a new image in a file, all zeros but for the values given. An existing one "
            "stays as it is.",
            Commands::deviceCreate},
    Command{"dns", "show", "[--json]", 0, 0, " --json ", "Prints the DNS servers of both adapters.",
            Commands::dnsShow},
    Command{"dns", "set", "ADAPTER first|backup ADDRESS", 3, 3, " ",
            "Sets a DNS server of eth0 or eth1. Lines of others stay as they are; empty lines go.",
            Commands::dnsSet},
    Command{"dns", "clear", "ADAPTER", 1, 1, " ", "Removes the DNS servers of eth0 or eth1.",
            Commands::dnsClear},
    Command{"areas", "create", "[--root DIR] [--stored] [--json] [REGISTER=VALUE...]", 0, 90,
            " --root --stored --json ",
            "Makes the register areas and notice pipes of a new device. What is there stays as it "
            "is; the values go into files that are made new.",
            Commands::areasCreate},
    Command{"tables", "", "[--json]", 0, 0, " --json ",
            "Prints everything that is where: records, fields, areas and registers.",
            Commands::tables},
};

struct Option
{
    const char* name;
    const char* value; ///< What it takes, for the help; null for a flag.
    const char* help;
};

constexpr std::array options{
    Option{"--json", nullptr, "print JSON"},
    Option{"--notify", nullptr, "tell the runtime; fails when nobody hears it"},
    Option{"--image", "FILE", "use an image in a file instead of the device"},
    Option{"--root", "DIR", "put DIR before every path"},
    Option{"--stored", nullptr, "only what outlives a power cut"},
};

const Option* findOption(std::string_view name)
{
    const auto* at = std::find_if(options.begin(), options.end(),
                                  [&](const Option& option) { return option.name == name; });
    return at == options.end() ? nullptr : at;
}

bool takes(const Command& command, const std::string& option)
{
    return std::string_view(command.options).find(" " + option + " ") != std::string_view::npos;
}

std::string nameOf(const Command& command)
{
    return std::string(command.group) + (*command.verb ? " " : "") + command.verb;
}

std::string synopsis(const Command& command)
{
    return "panelctl " + nameOf(command) + (*command.parameters ? " " : "") + command.parameters;
}

void printOptions(const Command& command)
{
    for (const Option& option : options) {
        if (takes(command, option.name)) {
            std::cout << "  " << option.name << (option.value ? " " : "")
                      << (option.value ? option.value : "") << "  " << option.help << '\n';
        }
    }
}

void printHelp(const Command& command)
{
    std::cout << "usage: " << synopsis(command) << '\n' << command.help << '\n';
    printOptions(command);
}

/// The commands of one group, or of all when @p group is empty.
void printCommands(std::string_view group)
{
    std::cout << "usage: panelctl " << (group.empty() ? "COMMAND" : group) << " ...\n";
    for (const Command& command : commands) {
        if (group.empty() || group == command.group) {
            std::cout << "  " << synopsis(command) << "\n      " << command.help << '\n';
        }
    }
    std::cout
        << "Ends with 0 when it is done, 1 when it failed, 2 when the command line is wrong.\n"
           "Every command explains itself with --help.\n";
}

using Words = std::vector<std::string>;

bool isHelp(const std::string& word)
{
    return word == "--help" || word == "-h";
}

/// The command that @p words begin with; @p used tells how many of them name it.
const Command& findCommand(const Words& words, std::size_t& used)
{
    bool isGroup = false;
    for (const Command& command : commands) {
        isGroup = isGroup || words[0] == command.group;
        used = *command.verb ? 2 : 1;
        const bool matches = used == 1 || (words.size() > 1 && words[1] == command.verb);
        if (words[0] == command.group && matches) {
            return command;
        }
    }
    if (!isGroup) {
        throw UsageError("unknown command '" + words[0] + "'; see panelctl --help");
    }
    const std::string seen = words.size() > 1
                                 ? "unknown command '" + words[0] + " " + words[1] + "'"
                                 : "'" + words[0] + "' needs a command";
    throw UsageError(seen + "; see panelctl " + words[0] + " --help");
}

void takeOption(const Command& command, const Words& words, std::size_t& at, Arguments& given)
{
    const Option* option = findOption(words[at]);
    if (!option || !takes(command, words[at])) {
        throw UsageError("'" + nameOf(command) + "' has no option '" + words[at] + "'");
    }
    // An empty value is a variable of the caller's without content, and not a file or folder.
    if (option->value && (at + 1 == words.size() || words[at + 1].empty())) {
        throw UsageError("'" + words[at] + "' needs a " + option->value);
    }
    given.options[option->name] = option->value ? words[at + 1] : std::string();
    at += option->value ? 1 : 0;
}

Arguments parse(const Command& command, const Words& words, std::size_t used)
{
    Arguments given;
    for (std::size_t at = used; at < words.size(); ++at) {
        if (words[at].rfind('-', 0) == 0) {
            takeOption(command, words, at, given);
        } else {
            given.words.push_back(words[at]);
        }
    }
    if (given.words.size() < command.leastWords || given.words.size() > command.mostWords) {
        throw UsageError("usage: " + synopsis(command));
    }
    return given;
}

void run(const Words& words)
{
    if (words.empty()) {
        throw UsageError("no command given; see panelctl --help");
    }
    if (isHelp(words[0])) {
        return printCommands("");
    }
    const bool isGroup = std::any_of(commands.begin(), commands.end(), [&](const Command& one) {
        return words[0] == one.group && *one.verb;
    });
    if (isGroup && words.size() == 2 && isHelp(words[1])) {
        return printCommands(words[0]);
    }
    std::size_t used = 0;
    const Command& command = findCommand(words, used);
    if (std::any_of(words.begin(), words.end(), isHelp)) {
        return printHelp(command);
    }
    command.run(parse(command, words, used));
}

/// Says it on one line, whatever somebody typed into it.
int complain(const std::exception& error, int status)
{
    constexpr unsigned char firstPrintable = ' ';
    std::string line = error.what();
    std::replace_if(
        line.begin(), line.end(),
        [](char letter) { return static_cast<unsigned char>(letter) < firstPrintable; }, '?');
    std::cout.flush();
    std::cerr << "panelctl: " << line << '\n';
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        run({argv + 1, argv + argc});
        if (!std::cout.flush()) {
            throw Failure("cannot write the output");
        }
        return 0;
    } catch (const UsageError& error) {
        return complain(error, 2);
    } catch (const std::exception& error) {
        return complain(error, 1);
    }
}
