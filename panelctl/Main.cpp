// panelctl: the registers, the device records, the resolver file and the register areas of a panel,
// from a command line.

#include "panelctl/CommandLine.h"
#include "panelctl/CommandTable.h"
#include "panelctl/Commands.h"

#include "panelctl/Help.h"
#include "panelctl/Journal.h"

#include <algorithm>
#include <iostream>

namespace {

void run(const Words& line)
{
    const CommandLine parsed = CommandLine::parse(line);
    if (parsed.wantsHelp) {
        return Help::print(parsed.words);
    }
    if (parsed.wantsVersion) {
        return Help::printVersion();
    }
    const Command& command = CommandTable::require(parsed.words);
    for (const auto& [option, value] : parsed.options) {
        if (!command.options.has(option)) {
            throw UsageError("'" + CommandTable::nameOf(command) + "' has no option '" +
                             rowOf(option).name + "'");
        }
    }
    const auto first = parsed.words.begin() + std::ptrdiff_t(CommandTable::nameLength(command));
    const Arguments given = {{first, parsed.words.end()}, parsed.options};
    if (given.words.size() < command.leastWords || given.words.size() > command.mostWords) {
        throw UsageError("usage: " + CommandTable::synopsis(command));
    }
    if (command.looksAtPanel && command.run != Commands::recover) {
        settleJournal();
    }
    command.run(given);
}

/// Says it on one line, whatever somebody typed into it.
int complain(const std::exception& error, int status)
{
    constexpr unsigned char firstPrintable = ' ';
    std::string line = error.what();
    std::replace_if(
        line.begin(), line.end(),
        [](char letter) { return static_cast<unsigned char>(letter) < firstPrintable; }, '?');
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
    } catch (const Unchanged&) {
        return 3;
    } catch (const UsageError& error) {
        return complain(error, 2);
    } catch (const std::exception& error) {
        return complain(error, 1);
    }
}
